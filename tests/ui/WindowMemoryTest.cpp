// A main window comes back at the size and splitter place it was left at; a value Qt does not
// take back leaves the window as it is built, and one larger than the screens is fitted to them.
#include "core/SettingsFile.h"
#include "list/DefaultCountry.h"
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "stores/windows/StoreWindows.h"
#include "ui/GsmBulkSmsView.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"

#include <QJsonObject>
#include <QScreen>
#include <QSplitter>

#include <gtest/gtest.h>

namespace {

// A GSM main window over its own controller, as the program's start builds it.
struct GsmWindow {
    GsmWindow(ScriptedOperator& op, const DataFolder& folder)
        : controller(op, folder), stores(op, folder, country), view(controller, stores) {}
    QSplitter& splitter() { return *view.findChild<QSplitter*>("recipientSplitter"); }

    Gsm_Bulk_Sms_Wnd controller;
    DefaultCountry country;
    StoreWindows stores;
    GsmBulkSmsView view;
};

TEST(WindowMemory, AWindowOpensAsItWasLeft) {
    TestDataHome home;
    ScriptedOperator op;
    QSize size;
    QList<int> sizes;
    {
        GsmWindow left(op, home.folder);
        left.controller.bringToFront();
        left.view.resize(700, 500); // the width is held up by the window's minimum
        size = left.view.size();
        left.splitter().setSizes({200, 400});
        sizes = left.splitter().sizes();
        ASSERT_NE(sizes, QList<int>({}));
    } // destroyed while shown, as at the program's end
    GsmWindow opened(op, home.folder);
    opened.controller.bringToFront();
    EXPECT_EQ(opened.view.size(), size);
    EXPECT_EQ(opened.splitter().sizes(), sizes);
}

TEST(WindowMemory, UnreadableValuesAreIgnored) {
    TestDataHome home;
    ScriptedOperator op;
    QSize built;
    {
        GsmWindow plain(op, home.folder);
        built = plain.view.size();
    }
    for (const QJsonValue& kept :
         {QJsonValue(QStringLiteral("not an object")),
          QJsonValue(QJsonObject{{"geometry", "@@not base64@@"},
                                 {"splitters", QJsonObject{{"recipientSplitter", 7}}}}),
          QJsonValue(QJsonObject{{"geometry", QString::fromLatin1(QByteArray(64, 'x').toBase64())}})}) {
        ASSERT_TRUE(SettingsFile(home.folder).write("gsmWindow", kept));
        GsmWindow opened(op, home.folder);
        EXPECT_EQ(opened.view.size(), built);
    }
    QWidget huge;
    huge.resize(30000, 20000);
    ASSERT_TRUE(SettingsFile(home.folder)
                    .write("gsmWindow",
                           QJsonObject{{"geometry", QString::fromLatin1(huge.saveGeometry().toBase64())}}));
    GsmWindow opened(op, home.folder);
    EXPECT_LE(opened.view.height(), opened.view.screen()->availableVirtualSize().height());
}

} // namespace
