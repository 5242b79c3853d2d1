// The configuration store shared between processes: merging committers,
// failed commits, the process-wide store, and committers killed mid-write.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <functional>
#include <string>

#include "platform/Config/Config.h"
#include "tests/support/TestSupport.h"

namespace {

using TestSupport::ReadWholeFile;
using TestSupport::TempDir;
using TestSupport::WriteWholeFile;

// Runs body in a forked child and gives its exit status (-1 when it did not exit).
int RunInChild(const std::function<int()>& body) {
    const pid_t pid = ::fork();
    if (pid == 0) ::_exit(body());
    int status = 0;
    if (pid < 0 || ::waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

bool LockIsFree(const std::string& path) {
    const int fd = ::open((path + ".lock").c_str(), O_RDWR);
    if (fd < 0) return false;
    const bool free = ::flock(fd, LOCK_EX | LOCK_NB) == 0;
    ::close(fd);
    return free;
}

TEST(ConfigCommitTest, TwoStoresOnOneFileKeepEachOthersKeys) {
    TempDir dir;
    const std::string path = dir.File("system.conf");
    WriteWholeFile(path, "# hand-written\n[Quillond]\nio_type = 1\n");
    CConfig first(path);
    CConfig second(path);
    first.SetInteger("Quillond", "baud_rate", 9600);
    ASSERT_TRUE(first.Commit());
    second.SetString("Quillond", "input_filename", "/dev/ttyS2");
    ASSERT_TRUE(second.Commit());

    CConfig reloaded(path);
    EXPECT_EQ(reloaded.GetInteger("Quillond", "baud_rate", 0), 9600);
    EXPECT_EQ(reloaded.GetString("Quillond", "input_filename", ""), "/dev/ttyS2");
    EXPECT_EQ(reloaded.GetInteger("Quillond", "io_type", 0), 1);
    // The second committer also picked up the first one's key.
    EXPECT_EQ(second.GetInteger("Quillond", "baud_rate", 0), 9600);
    EXPECT_EQ(ReadWholeFile(path).rfind("# hand-written\n", 0), 0u);
}

TEST(ConfigCommitTest, ConcurrentCommittersInTwoProcessesLoseNoKey) {
    TempDir dir;
    const std::string path = dir.File("system.conf");
    const int kCommits = 40;
    int start[2];
    ASSERT_EQ(::pipe(start), 0);
    pid_t children[2];
    for (int child = 0; child < 2; ++child) {
        children[child] = ::fork();
        ASSERT_GE(children[child], 0);
        if (children[child] == 0) {
            ::close(start[1]);
            char byte;
            (void)!::read(start[0], &byte, 1);  // both start together when the pipe closes
            CConfig config(path);
            for (int i = 0; i < kCommits; ++i) {
                config.SetInteger("Quillond",
                                  "child" + std::to_string(child) + "_" + std::to_string(i), i);
                if (!config.Commit()) ::_exit(1);
            }
            ::_exit(0);
        }
    }
    ::close(start[0]);
    ::close(start[1]);
    for (pid_t pid : children) {
        int status = 0;
        ASSERT_EQ(::waitpid(pid, &status, 0), pid);
        ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }

    CConfig reloaded(path);
    for (int child = 0; child < 2; ++child) {
        for (int i = 0; i < kCommits; ++i) {
            const std::string key = "child" + std::to_string(child) + "_" + std::to_string(i);
            EXPECT_EQ(reloaded.GetInteger("Quillond", key, -1), i) << key << " was lost";
        }
    }
}

TEST(ConfigCommitTest, CommitIntoMissingDirectoryFailsOnceAndKeepsValues) {
    TempDir dir;
    const std::string path = dir.File("missing/system.conf");
    CConfig config(path);
    config.SetInteger("Quillond", "io_type", 0);
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(config.Commit());
    EXPECT_FALSE(config.Commit());
    const std::string errors = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(errors.find('\n'), errors.size() - 1) << "expected one line: " << errors;
    EXPECT_NE(errors.find(path), std::string::npos) << errors;
    EXPECT_EQ(config.GetInteger("Quillond", "io_type", 3), 0);
    EXPECT_NE(::access(dir.File("missing").c_str(), F_OK), 0) << "the directory was created";

    // The change is still pending and goes out once the directory is there.
    ASSERT_EQ(::mkdir(dir.File("missing").c_str(), 0755), 0);
    ASSERT_TRUE(config.Commit());
    EXPECT_EQ(CConfig(path).GetInteger("Quillond", "io_type", 3), 0);
}

TEST(ConfigCommitTest, CommitIntoReadOnlyDirectoryFailsAndKeepsValues) {
    if (::geteuid() == 0) GTEST_SKIP() << "root writes into any directory";
    TempDir dir;
    const std::string path = dir.File("system.conf");
    WriteWholeFile(path, "[Quillond]\nio_type = 1\n");
    CConfig config(path);
    ASSERT_EQ(::chmod(dir.Path().c_str(), 0555), 0);
    config.SetInteger("Quillond", "io_type", 2);
    ::testing::internal::CaptureStderr();
    const bool committed = config.Commit();
    const std::string errors = ::testing::internal::GetCapturedStderr();
    ::chmod(dir.Path().c_str(), 0755);
    EXPECT_FALSE(committed);
    EXPECT_NE(errors.find(path), std::string::npos) << errors;
    EXPECT_EQ(config.GetInteger("Quillond", "io_type", 3), 2);
    EXPECT_EQ(ReadWholeFile(path), "[Quillond]\nio_type = 1\n");
}

TEST(ConfigCommitTest, SystemConfigUsesPathFromEnvironment) {
    TempDir dir;
    const std::string path = dir.File("system.conf");
    WriteWholeFile(path, "[Quillond]\nio_type = 0\n");
    EXPECT_EQ(RunInChild([&] {
                  ::setenv("QUILLOND_CONFIG", path.c_str(), 1);
                  CConfig& config = CConfig::GetSystemConfig();
                  const bool right = config.GetPath() == path &&
                                     config.GetInteger("Quillond", "io_type", 3) == 0 &&
                                     &config == &CConfig::GetSystemConfig();
                  return right ? 0 : 1;
              }),
              0);
    EXPECT_EQ(RunInChild([] {
                  ::unsetenv("QUILLOND_CONFIG");
                  const bool right =
                      CConfig::GetSystemConfig().GetPath() == "/var/lib/quillond/system.conf";
                  return right ? 0 : 1;
              }),
              0);
}

// A committer killed at any moment leaves either the old or the new file,
// whole, and neither its lock nor its temporary file stops the next commit.
TEST(ConfigCommitTest, KilledCommitterLeavesOneWholeVersion) {
    const int kKeys = 200;
    const int kRounds = 30;
    const auto setAll = [](CConfig& config, const char* value) {
        for (int i = 0; i < kKeys; ++i)
            config.SetString("Quillond", "k" + std::to_string(i), value);
    };
    TempDir dir;
    const std::string path = dir.File("system.conf");
    {
        CConfig config(path);
        setAll(config, "a");
        ASSERT_TRUE(config.Commit());
    }

    for (int round = 0; round < kRounds; ++round) {
        const pid_t pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            CConfig config(path);
            for (;;) {
                for (const char* value : {"b", "a"}) {
                    setAll(config, value);
                    if (!config.Commit()) ::_exit(1);
                }
            }
        }
        ::usleep(static_cast<useconds_t>((round * 7919) % 20000));  // 0 to 20 ms, varied
        ::kill(pid, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(pid, &status, 0), pid);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the committer failed in round " << round;

        ::testing::internal::CaptureStderr();
        CConfig loaded(path);
        const std::string errors = ::testing::internal::GetCapturedStderr();
        ASSERT_EQ(errors, "") << "round " << round;
        const std::string version = loaded.GetString("Quillond", "k0", "");
        ASSERT_TRUE(version == "a" || version == "b") << "round " << round << ": " << version;
        for (int i = 1; i < kKeys; ++i) {
            ASSERT_EQ(loaded.GetString("Quillond", "k" + std::to_string(i), ""), version)
                << "mixed or truncated file in round " << round << " at key " << i;
        }
        // The killed child merged, never dropped, the key committed between rounds.
        ASSERT_EQ(loaded.GetInteger("Between", "round", -1), round - 1);

        ASSERT_TRUE(LockIsFree(path)) << "the dead committer's lock is still held";
        loaded.SetInteger("Between", "round", round);
        ASSERT_TRUE(loaded.Commit());
    }
}

}  // namespace
