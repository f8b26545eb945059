// The Android windows' views against a virtual phone: they show what their controllers hold and
// forward clicks. With BULKSMS_SCREENSHOT_DIR set, each view is also saved as a PNG to look at.
#include "android/windows/And_Conn_Err.h"
#include "android/windows/Android_Ph_List_Wnd.h"
#include "android/windows/Android_TroubleShooting.h"
#include "android/windows/Connection_Info.h"
#include "android/windows/OneByOneCopyFailure.h"
#include "android/windows/SingleShotCopyFailure.h"
#include "core/DataFolder.h"
#include "core/WorkerThread.h"
#include "sending/windows/Bulk_SMSAppDelegate.h"
#include "sim/AdbServer.h"
#include "stores/windows/StoreWindows.h"
#include "ui/AndroidBulkSmsView.h"
#include "ui/AndroidPhListView.h"
#include "ui/AndroidSendingProgressView.h"
#include "ui/AndroidTroubleShootingView.h"
#include "ui/UsbDebuggingPrompt.h"
#include "ui/ViewRegistry.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "core/FileUtils.h"

#include <QCheckBox>
#include <QDir>
#include <QImage>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QSet>
#include <QTableView>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

void saveShot(QWidget& widget, const QString& name) {
    const QString folder = qEnvironmentVariable("BULKSMS_SCREENSHOT_DIR");
    if (!folder.isEmpty())
        widget.grab().save(QDir(folder).filePath(name + ".png"));
}

class AndroidViewsTest : public ::testing::Test {
protected:
    void SetUp() override {
        ViewRegistry::registerStandardViews();
        sim::PhoneConfig config = sim::PhoneConfig::typical();
        config.serial = "R58DEMO0001";
        config.appInstalled = true;
        config.properties.insert("ro.product.manufacturer", "Samsung");
        config.properties.insert("ro.product.model", "Galaxy A52");
        server = std::make_unique<sim::AdbServer>(QList<sim::PhoneConfig>{config});
        ASSERT_TRUE(server->start(0));
        qputenv("ADB_SERVER_SOCKET", server->socketSpec().toUtf8());
        qputenv("HOME", QFile::encodeName(adbHome.path()));
        ASSERT_TRUE(writeFileAtomically(home.folder.Resource_Path() + "/OstrelBulkSMS.apk", "package"));
        home.folder.Check_Path_And_Create_Files();
    }
    void TearDown() override {
        server->stop();
        qunsetenv("ADB_SERVER_SOCKET");
    }
    TestDataHome home;
    QTemporaryDir adbHome;
    ScriptedOperator op;
    std::unique_ptr<sim::AdbServer> server;
};

TEST_F(AndroidViewsTest, SearchWindowShowsThePhoneAndSelectsIt) {
    DeviceSelection selection;
    AndroidSelection chosen;
    Android_Ph_List_Wnd search(op, home.folder, selection, chosen);
    AndroidPhListView view(search);
    view.resize(560, 460);
    view.show();
    saveShot(view, "android-search-start");
    WorkerThread worker;
    worker.start([&](std::stop_token) { search.searchDevice(false); });
    worker.join();
    QTableView* table = view.findChild<QTableView*>();
    ASSERT_NE(table, nullptr);
    EXPECT_TRUE(table->isVisible());
    EXPECT_EQ(table->model()->rowCount(), 9);
    EXPECT_EQ(table->model()->index(1, 1).data().toString(), "SAMSUNG");
    saveShot(view, "android-search-found");
    for (QPushButton* button : view.findChildren<QPushButton*>())
        if (button->text() == "Select")
            button->click();
    EXPECT_EQ(search.endCode(), 1);
    EXPECT_EQ(selection.sel_port_name_str, "SAMSUNG GALAXY A52");
}

TEST_F(AndroidViewsTest, SeveralPhonesAreListedToTickAndTheTickedOnesAreSelected) {
    server->stop();
    QList<sim::PhoneConfig> phones;
    for (const QString serial : {"R58AAAA0001", "R58BBBB0002", "R58CCCC0003"}) {
        phones << sim::PhoneConfig::typical();
        phones.last().serial = serial;
        phones.last().appInstalled = true;
    }
    phones.last().state = "unauthorized"; // listed, but cannot be ticked
    server = std::make_unique<sim::AdbServer>(phones);
    ASSERT_TRUE(server->start(0));
    qputenv("ADB_SERVER_SOCKET", server->socketSpec().toUtf8());
    DeviceSelection selection;
    AndroidSelection chosen;
    Android_Ph_List_Wnd search(op, home.folder, selection, chosen);
    AndroidPhListView view(search);
    view.show();
    WorkerThread worker;
    worker.start([&](std::stop_token) { search.searchDevice(false); });
    worker.join();
    auto* list = view.findChild<QListWidget*>("_phones");
    ASSERT_NE(list, nullptr);
    ASSERT_TRUE(spinUntil([&] { return list->isVisible() && list->count() == 3; }));
    EXPECT_EQ(list->item(0)->checkState(), Qt::Checked);
    EXPECT_FALSE(list->item(2)->flags() & Qt::ItemIsUserCheckable);
    EXPECT_EQ(list->item(2)->text(), "R58CCCC0003 (unauthorized)");
    list->item(0)->setCheckState(Qt::Unchecked);
    saveShot(view, "android-search-several");
    search.beginModal();
    for (QPushButton* button : view.findChildren<QPushButton*>())
        if (button->text() == "Select")
            button->click();
    EXPECT_EQ(search.endCode(), 1);
    EXPECT_EQ(selection.sel_port_name_str, "VIRTUAL PHONE 5G (R58BBBB0002)");
    ASSERT_EQ(chosen.phones.size(), 1);
    EXPECT_EQ(chosen.phones.first().serial, "R58BBBB0002");
}

TEST_F(AndroidViewsTest, MainWindowModesSendAndProgress) {
    Bulk_SMSAppDelegate window(op, home.folder);
    window.windowDidLoad();
    DefaultCountry storeCountry;
    StoreWindows stores(op, home.folder, storeCountry);
    AndroidBulkSmsView view(window, stores);
    view.resize(1000, 700);
    view.show();
    window.selection().sel_port_name_str = "SAMSUNG GALAXY A52";
    window.selection().sel_port_bsd_str = "SAMSUNG GALAXY A52";
    window.selection().port_val_str_array = {"SAMSUNG GALAXY A52"};
    window.applyDeviceSelection();
    window.Create_Num_Msg_List("+447700900001", "Tom & Jerry (2)");
    window.Create_Num_Msg_List("+447700900002", "See you at 5 & bring snacks");

    auto* singleShot = view.findChild<QRadioButton*>("Single_Shot_Radio");
    auto* classic = view.findChild<QRadioButton*>("Classic_Radio");
    ASSERT_TRUE(singleShot && classic);
    EXPECT_FALSE(singleShot->isChecked());
    singleShot->click();
    EXPECT_EQ(window.androidSelection().AND_SMS_sending_mode, int(AndroidSendingMode::SingleShot));
    EXPECT_FALSE(classic->isEnabled());
    view.findChild<QRadioButton*>("One_By_One_Radio")->click();
    EXPECT_TRUE(classic->isEnabled());
    saveShot(view, "android-main");

    auto* progressView = view.findChild<AndroidSendingProgressView*>();
    ASSERT_NE(progressView, nullptr);
    bool progressShown = false;
    QObject::connect(&window.progress(), &AndroidSendingProgress::changed, &view, [&] {
        if (progressView->isVisible() && !window.progress().state().counterText.isEmpty() && !progressShown) {
            progressShown = true;
            saveShot(*progressView, "android-progress");
        }
    });
    QList<int> rowsShown; // the list follows the run
    auto* list = view.findChild<QTableView*>();
    ASSERT_NE(list, nullptr);
    QObject::connect(list->selectionModel(), &QItemSelectionModel::currentRowChanged, &view,
                     [&](const QModelIndex& current) { rowsShown << current.row(); });
    view.findChild<QPushButton*>("Send_SMS_Btn")->click();
    window.waitForSend();
    ASSERT_TRUE(spinUntil([&] { return rowsShown.contains(1); }));
    EXPECT_EQ(list->selectionModel()->selectedRows().size(), 1);
    EXPECT_TRUE(progressShown);
    EXPECT_EQ(op.alerts(), QStringList{"\nMessage Sending Process Completed."});
    EXPECT_EQ(server->log().events("message").size(), 2);
    // The ended run stays shown, a row per recipient, until Close.
    ASSERT_TRUE(spinUntil([&] { return progressView->isVisible(); }));
    EXPECT_EQ(progressView->findChild<QTableView*>()->model()->rowCount(), 2);
    auto* close = progressView->findChild<QPushButton*>("_close_btn");
    ASSERT_TRUE(close && close->isVisible() &&
                progressView->findChild<QPushButton*>("_export_btn")->isVisible());
    saveShot(*progressView, "android-progress-finished");
    close->click();
    EXPECT_FALSE(progressView->isVisible());
}

TEST_F(AndroidViewsTest, TheModeTestRunsOnAPhoneAndOkSetsTheWorkingMode) {
    server->stop(); // this phone's storage cannot be written: only classic mode can work
    sim::PhoneConfig config = sim::PhoneConfig::typical();
    config.serial = "R58DEMO0002";
    config.appInstalled = true;
    config.pushFails = true;
    server = std::make_unique<sim::AdbServer>(QList<sim::PhoneConfig>{config});
    ASSERT_TRUE(server->start(0));
    qputenv("ADB_SERVER_SOCKET", server->socketSpec().toUtf8());
    DeviceSelection selection;
    selection.sel_port_name_str = "VIRTUAL PHONE 5G";
    AndroidSelection chosen;
    Android_TroubleShooting window(op, home.folder, chosen, selection);
    window.open(selection.sel_port_name_str);
    window.setTestNumberText("+442079460958");
    AndroidTroubleShootingView view(window, nullptr);
    view.show();
    QPushButton* start = nullptr;
    QPushButton* ok = nullptr;
    for (QPushButton* b : view.findChildren<QPushButton*>()) {
        if (b->text() == "Start Test")
            start = b;
        if (b->text() == "OK")
            ok = b;
    }
    ASSERT_TRUE(start && ok);
    start->click();
    window.waitForTest();
    ASSERT_TRUE(spinUntil([&] { return !window.testing(); }));
    auto* cases = view.findChild<QTableView*>();
    ASSERT_NE(cases, nullptr);
    QStringList statuses;
    for (int row = 0; row < cases->model()->rowCount(); ++row)
        statuses << cases->model()->index(row, cases->model()->columnCount() - 1).data().toString();
    EXPECT_EQ(statuses, (QStringList{"Fail", "Fail", "Success"}));
    view.findChildren<QRadioButton*>().at(2)->click(); // classic, the one that worked
    saveShot(view, "android-mode-test-run");
    ok->click();
    EXPECT_EQ(chosen.AND_SMS_sending_mode, int(AndroidSendingMode::Classic));
}

TEST_F(AndroidViewsTest, ConnectionErrorBoxEndsWithOk) {
    And_Conn_Err box(QLatin1Char('P'), "Allow USB permissions on your mobile", "Allow USB permissions ...");
    std::unique_ptr<QDialog> view(ViewRegistry::createView(box, nullptr));
    ASSERT_NE(view, nullptr);
    saveShot(*view, "android-permission-box");
    view->findChild<QPushButton*>()->click();
    EXPECT_EQ(box.endCode(), 1);
}

// The connection steps: each maker's step button opens its help page (through the operator,
// which records it here instead of starting a browser); the phone's prompt shows on request.
TEST(ConnectionStepsView, StepButtonsOpenTheMakersPagesAndThePromptShowsOnRequest) {
    ViewRegistry::registerStandardViews();
    ScriptedOperator op;
    Connection_Info steps(op);
    std::unique_ptr<QDialog> view(ViewRegistry::createView(steps, nullptr));
    ASSERT_NE(view, nullptr);
    view->show();
    const QList<Connection_Info::HelpPage>& pages = Connection_Info::helpPages();
    ASSERT_GE(pages.size(), 3);
    EXPECT_EQ(pages.first().url, "https://developer.android.com/studio/debug/dev-options");
    QStringList expected;
    for (int i = pages.size() - 1; i >= 0; --i) { // any order: each opens its own
        auto* button = view->findChild<QPushButton*>(QStringLiteral("helpPage%1").arg(i));
        ASSERT_NE(button, nullptr) << i;
        EXPECT_EQ(button->text(), pages.at(i).maker);
        button->click();
        expected << pages.at(i).url;
        EXPECT_TRUE(pages.at(i).url.startsWith("https://")) << pages.at(i).url.toStdString();
    }
    EXPECT_EQ(op.openedUrls(), expected);
    steps.Open_Help_Page(int(pages.size())); // no such button: nothing opens
    EXPECT_EQ(op.openedUrls().size(), pages.size());
    EXPECT_FALSE(steps.isEnded()); // the dialog stays for the next step
    saveShot(*view, "android-connection-steps");

    auto* toggle = view->findChild<QPushButton*>("authorisationHelp");
    auto* picture = view->findChild<QWidget*>("authorisationPicture");
    ASSERT_TRUE(toggle && picture);
    EXPECT_FALSE(picture->isVisible());
    toggle->click();
    EXPECT_TRUE(picture->isVisible());
    EXPECT_EQ(toggle->text(), "Hide the phone's permission prompt");
    saveShot(*view, "android-connection-steps-prompt");
    // The prompt is drawn: a white card on the dimmed screen, the tick box and Allow in blue,
    // and the marks round what to tap.
    auto* prompt = picture->findChild<UsbDebuggingPrompt*>();
    ASSERT_NE(prompt, nullptr);
    const QImage image = prompt->grab().toImage();
    saveShot(*prompt, "android-usb-debugging-prompt");
    QSet<QRgb> colours;
    for (int y = 0; y < image.height(); y += 2)
        for (int x = 0; x < image.width(); x += 2)
            colours.insert(image.pixel(x, y) & 0xffffffu);
    for (const QRgb colour : {0xffffffu, 0x1a73e8u, 0xf29900u, 0x5f6368u})
        EXPECT_TRUE(colours.contains(colour)) << std::hex << colour;
    toggle->click();
    EXPECT_FALSE(picture->isVisible());
}

// The questions of a failed copy to the phone: their buttons end them with the codes the send
// reads, Escape cancels, and the "for all" box is the controller's.
TEST(CopyFailureViews, ButtonsEndWithTheirCodesAndTheBoxIsKept) {
    ViewRegistry::registerStandardViews();
    const struct {
        const char* button;
        int code;
    } listCases[] = {{"OK", 1}, {"Cancel", 0}, {"Continue anyway", 2}, {nullptr, 0}};
    for (const auto& c : listCases) {
        SingleShotCopyFailure dialog;
        std::unique_ptr<QDialog> view(ViewRegistry::createView(dialog, nullptr));
        ASSERT_NE(view, nullptr);
        if (c.button == nullptr) {
            view->reject(); // Escape or the close button
        } else {
            if (QLatin1String(c.button) == "OK")
                saveShot(*view, "android-list-copy-failed");
            for (QPushButton* b : view->findChildren<QPushButton*>())
                if (b->text() == c.button)
                    b->click();
        }
        EXPECT_TRUE(dialog.isEnded()) << (c.button ? c.button : "Escape");
        EXPECT_EQ(dialog.endCode(), c.code) << (c.button ? c.button : "Escape");
    }

    OneByOneCopyFailure dialog("+447700900555");
    std::unique_ptr<QDialog> view(ViewRegistry::createView(dialog, nullptr));
    ASSERT_NE(view, nullptr);
    auto* forAll = view->findChild<QCheckBox*>("forAll");
    ASSERT_NE(forAll, nullptr);
    EXPECT_FALSE(forAll->isChecked());
    forAll->click();
    EXPECT_TRUE(dialog.forAll());
    saveShot(*view, "android-message-copy-failed");
    view->reject();
    EXPECT_EQ(dialog.endCode(), 0);
}

} // namespace
