// What only this system has: priorities of its own kind, and pipes among files.

#include "tests/support/temporary_directory.h"

#include "platform/platform.h"

#include <gtest/gtest.h>

#include <sched.h>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace vl::platform;

namespace {

TEST(PlatformProcess, RestoresThePriorityThatItRaised) {
    const int nice = getpriority(PRIO_PROCESS, 0), policy = sched_getscheduler(0);
    const Priority saved = raisePriority();
    EXPECT_EQ(saved.processChanged, getpriority(PRIO_PROCESS, 0) < nice);
    EXPECT_EQ(saved.threadChanged, sched_getscheduler(0) != policy);
    restorePriority(saved);
    EXPECT_EQ(getpriority(PRIO_PROCESS, 0), nice);
    EXPECT_EQ(sched_getscheduler(0), policy);
}

/// Nobody writes to the pipe: what waits for a writer never ends.
TEST(PlatformFiles, AreNotReadWhereSomethingElseLies) {
    const TemporaryDirectory directory;
    ASSERT_EQ(mkfifo((directory.path() / "pipe").c_str(), 0666), 0);
    for (const char *name : {"", "\\pipe", "\\missing"}) {
        const std::string path = directory.enginePath() + name;
        FileIdentity identity;
        EXPECT_EQ(openFile(path.c_str(), "rb"), nullptr) << name;
        EXPECT_EQ(openUnbuffered(path.c_str(), identity), nullptr) << name;
        EXPECT_EQ(openForReading(path.c_str(), identity, OpenAs::Named), noFile) << name;
        EXPECT_EQ(openForReading(path.c_str(), identity, OpenAs::Known), noFile) << name;
    }
}

} // namespace
