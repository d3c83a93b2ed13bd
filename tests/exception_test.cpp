// Exceptions: messages and their shared buffers, the localization hook, throwing and catching.

#include "vl/core.h"
#include "vl/file.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

/// A client's own leaf.
class OwnException : public V_FileException {
  public:
    OwnException() = default;
    explicit OwnException(int number) { setError("number %d", number); }
};

TEST(Exception, MessagesAreCutAt8191Characters) {
    OwnException exception;
    exception.setError("%s%s", "start", std::string(9995, 'x').c_str());
    EXPECT_EQ(exception.getErrorMessage(), "start" + std::string(8186, 'x'));
}

TEST(Exception, AMessageLivesUntilTheFifthAfterIt) {
    const OwnException exceptions[5] = {OwnException(1), OwnException(2), OwnException(3), OwnException(4),
                                        OwnException(5)};
    EXPECT_STREQ(exceptions[0].getErrorMessage(), "number 5");
    for (int i = 1; i < 5; ++i)
        EXPECT_EQ(exceptions[i].getErrorMessage(), "number " + std::to_string(i + 1));
}

TEST(Exception, IsCaughtAsEveryClassAboveItAndKeepsOneInstance) {
    const void *first = nullptr;
    try {
        V_throw(OwnException(1));
    } catch (V_FileException *exception) {
        first = exception;
        EXPECT_STREQ(exception->getErrorMessage(), "number 1");
    }
    try {
        V_throw(OwnException(2));
    } catch (V_Exception *exception) {
        EXPECT_EQ(exception, first);
        EXPECT_STREQ(exception->getErrorMessage(), "number 2");
    }
    EXPECT_THROW(V_throw(OwnException(3)), void *);
    EXPECT_THROW(V_throw(V_MemoryException_Allocation()), V_MemoryException *);
}

/// What the last call of `localize` saw.
std::string previousMessage, formatSeen;

void localize(const V_Exception &exception, char *message, const char *format, std::va_list arguments) {
    previousMessage = exception.getErrorMessage();
    formatSeen = format;
    char original[64];
    std::vsnprintf(original, sizeof original, format, arguments);
    std::snprintf(message, 8192, "[%s]", original);
}

TEST(Exception, LocalizationRewritesEveryMessageUntilCleared) {
    V_Exception::setLocalizationCallback(localize);
    const OwnException exception(1);
    EXPECT_STREQ(exception.getErrorMessage(), "[number 1]");
    EXPECT_EQ(previousMessage, "Unspecified V_Exception");
    EXPECT_EQ(formatSeen, "number %d");
    EXPECT_STREQ(V_MemoryException_Allocation().getErrorMessage(), "[Out of system memory resources]");
    V_Exception::clearLocalizationCallback();
    EXPECT_STREQ(OwnException(2).getErrorMessage(), "number 2");
}

} // namespace
