// A main window comes back at the size and splitter place it was left at; a value Qt does not
// take back leaves the window as it is built.
#include "core/SettingsFile.h"
#include "list/DefaultCountry.h"
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "stores/windows/StoreWindows.h"
#include "ui/GsmBulkSmsView.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"

#include <QJsonObject>
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
    QList<int> sizes;
    {
        GsmWindow left(op, home.folder);
        left.controller.bringToFront();
        left.view.resize(1111, 777);
        left.splitter().setSizes({200, 900});
        sizes = left.splitter().sizes();
        ASSERT_NE(sizes, QList<int>({}));
    } // destroyed while shown, as at the program's end
    GsmWindow opened(op, home.folder);
    opened.controller.bringToFront();
    EXPECT_EQ(opened.view.size(), QSize(1111, 777));
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
}

} // namespace
