// Entry point of every headless suite: an application object so that MainThread hand-offs
// and queued signals work, a shrunken clock, and the offscreen platform for views.
#include "core/Clock.h"
#include "core/Log.h"

#include <gtest/gtest.h>

#ifdef BULKSMS_TEST_GUI
#include <QApplication>
using TestApplication = QApplication;
#else
#include <QCoreApplication>
using TestApplication = QCoreApplication;
#endif

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    ::testing::InitGoogleTest(&argc, argv);
    TestApplication app(argc, argv);
    Clock::setScale(0.001);
    // BULKSMS_TEST_VERBOSE=1: the traffic a failing test saw goes to standard error as well.
    setLogToStandardError(!qEnvironmentVariableIsEmpty("BULKSMS_TEST_VERBOSE"));
    return RUN_ALL_TESTS();
}
