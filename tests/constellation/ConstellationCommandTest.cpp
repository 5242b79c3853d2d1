// The constellation manager together with the command manager: the
// "selectchanconfig" line appears only while a change is needed, never for a
// receiver with a fixed configuration, and stops once the line has gone out.

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <list>
#include <memory>
#include <string>

#include "control/CommandManager.h"
#include "control/ConstellationManager.h"
#include "tests/constellation/ConstellationTestSupport.h"

namespace {

using ConstellationTest::ChanConfigListRecord;
using ConstellationTest::CManagerFixture;
using ConstellationTest::GroupList;

class ConstellationCommandTest : public CManagerFixture {
protected:
    // The pending configuration after a fresh build.
    std::list<std::string> Build(CConstellationManager& manager) {
        m_commands.reset(new CCommandManager(*m_config));
        m_commands->SetConstellationManager(&manager);
        EXPECT_TRUE(m_commands->BuildConfiguration());
        return m_commands->GetPendingCommands();
    }

    static bool HasSelectLine(const std::list<std::string>& lines) {
        return std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
            return line.find("selectchanconfig") != std::string::npos;
        });
    }

    std::unique_ptr<CCommandManager> m_commands;
};

TEST_F(ConstellationCommandTest, FixedReceiverNeverGetsSelectChanConfigLine) {
    CConstellationManager& manager =
        Manager("[Quillond]\nreceiver_is_615 = 1\n[Region]\nname = north_america\n");
    EXPECT_FALSE(HasSelectLine(Build(manager)));
    manager.NewPacket(ChanConfigListRecord(4, {GroupList{{12, 0}}}).get());
    EXPECT_FALSE(HasSelectLine(Build(manager)));
}

TEST_F(ConstellationCommandTest, SelectLineStopsOnceSentAndReturnsWhenReceiverDiffers) {
    CConstellationManager& manager = Manager("[Region]\nname = north_america\n");
    std::list<std::string> lines = Build(manager);
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ("selectchanconfig 2\r\n", *std::next(lines.begin()));

    m_commands->CommandSent("selectchanconfig 2\r\n");
    EXPECT_FALSE(manager.NeedsChannelConfigChange());
    EXPECT_FALSE(HasSelectLine(Build(manager)));

    manager.NewPacket(ChanConfigListRecord(1, {GroupList{{12, 0}}}).get());
    EXPECT_TRUE(HasSelectLine(Build(manager)));
}

}  // namespace
