#include "core/Guard.h"
#include "core/Log.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

TEST(Guard, AFailureIsLoggedWithItsPlaceAndTheFallbackReturned) {
    LogCapture log;
    EXPECT_EQ(Guard::run(
                  "parse", []() -> int { throw std::runtime_error("bad octet"); }, 7),
              7);
    EXPECT_TRUE(log.contains(QStringLiteral("parse: bad octet")));

    EXPECT_FALSE(Guard::run("write", [] { throw 42; }));
    EXPECT_TRUE(log.contains(QStringLiteral("write: unknown failure")));
}

TEST(Guard, ASuccessPassesItsResultThrough) {
    LogCapture log;
    EXPECT_EQ(Guard::run(
                  "sum", [] { return 2 + 3; }, 0),
              5);
    int calls = 0;
    EXPECT_TRUE(Guard::run("count", [&] { ++calls; }));
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(log.lines().isEmpty());
}

} // namespace
