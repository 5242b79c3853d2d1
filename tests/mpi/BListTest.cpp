#include <gtest/gtest.h>

#include <limits>

#include "platform/MPI/BList.h"
#include "platform/MPI/BListJson.h"

namespace {

using MPI::Json;

TEST(BListTest, TypedAccessorsRefuseMissingAndMistypedElements) {
    BListC list;
    list.Append(7).Append(2.5).Append("GPGGA").Append(BListC().Append(1));
    EXPECT_EQ(7, list.GetInteger(0));
    EXPECT_EQ(7.0, list.GetDouble(0));  // an integer serves where a double is wanted
    EXPECT_EQ(2.5, list.GetDouble(1));
    EXPECT_EQ("GPGGA", list.GetString(2));
    EXPECT_EQ(1, list.GetList(3).GetInteger(0));

    EXPECT_THROW(list.GetInteger(1), BListC::TypeError);  // a double is not an integer
    EXPECT_THROW(list.GetString(0), BListC::TypeError);
    EXPECT_THROW(list.GetList(2), BListC::TypeError);
    EXPECT_THROW(list.GetInteger(4), BListC::TypeError);
    try {
        list.GetInteger(2);
        FAIL() << "no error";
    } catch (const BListC::TypeError& error) {
        EXPECT_STREQ("argument 3 is a string, not an integer", error.what());
    }
}

TEST(BListTest, NullListIsNotAnEmptyList) {
    EXPECT_TRUE(BListC::Null().IsNull());
    EXPECT_FALSE(BListC().IsNull());
    EXPECT_NE(BListC::Null(), BListC());
    EXPECT_EQ("null", MPI::ToJsonText(BListC::Null()));
    EXPECT_EQ("[]", MPI::ToJsonText(BListC()));
}

TEST(BListTest, DoublesKeepAFractionOnTheWireAndReadBackAsDoubles) {
    BListC list;
    list.Append(2.0).Append(2).Append(1e21).Append(-0.5);
    const std::string text = MPI::ToJsonText(list);
    EXPECT_EQ("[2.0,2,1e+21,-0.5]", text);
    const BListC back = MPI::FromJson(Json::parse(text));
    EXPECT_EQ(list, back);
    EXPECT_EQ(BListC::kDouble, back.GetType(0));
    EXPECT_EQ(BListC::kInteger, back.GetType(1));
}

TEST(BListTest, NestedListsAndStringsRoundTrip) {
    BListC groups;
    groups.Append(BListC().Append(12).Append(0)).Append(BListC().Append(2).Append(4));
    BListC list;
    list.Append(BListC().Append(2).Append(groups)).Append("text \"quoted\"\n");
    EXPECT_EQ("[[2,[[12,0],[2,4]]],\"text \\\"quoted\\\"\\n\"]", MPI::ToJsonText(list));
    EXPECT_EQ(list, MPI::FromJson(Json::parse(MPI::ToJsonText(list))));
}

TEST(BListTest, StringsThatAreNotUTF8GoOutWithReplacementCharacters) {
    BListC list;
    list.Append(std::string("OEM\xff"));
    EXPECT_EQ("[\"OEM\xef\xbf\xbd\"]", MPI::ToJsonText(list));
}

TEST(BListTest, NonFiniteDoublesGoOutAsNull) {
    BListC list;
    list.Append(std::numeric_limits<double>::infinity());
    EXPECT_EQ("[null]", MPI::ToJsonText(list));
}

TEST(BListTest, ConvertsJsonScalarsToTheirListTypes) {
    const BListC list = MPI::FromJson(Json::parse("[true, false, null, -2147483648, 2147483647]"));
    EXPECT_EQ(1, list.GetInteger(0));
    EXPECT_EQ(0, list.GetInteger(1));
    EXPECT_TRUE(list.GetList(2).IsNull());
    EXPECT_EQ(std::numeric_limits<int32_t>::min(), list.GetInteger(3));
    EXPECT_EQ(std::numeric_limits<int32_t>::max(), list.GetInteger(4));
}

TEST(BListTest, RefusesIntegersBeyond32BitsAndObjects) {
    for (const char* text : {"[2147483648]", "[-2147483649]", "[{\"a\":1}]", "{\"a\":1}", "3"}) {
        EXPECT_THROW(MPI::FromJson(Json::parse(text)), BListC::TypeError) << text;
    }
}

}  // namespace
