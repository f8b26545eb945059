// The views show their controllers' state and forward clicks; they run headless.
#include "android/windows/Android_Ph_List_Wnd.h"
#include "android/windows/Connection_Info.h"
#include "android/windows/OneByOneCopyFailure.h"
#include "android/windows/SingleShotCopyFailure.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/MainWindows.h"
#include "core/windows/Mobile_Sel_Wnd.h"
#include "gsm/windows/GSM_DEV_Conn_Step_Wnd.h"
#include "gsm/windows/GSM_Device_List_Wnd.h"
#include "list/DefaultCountry.h"
#include "list/ListLoad.h"
#include "list/NumberLoader.h"
#include "list/windows/Load_Num_Info.h"
#include "sending/windows/Bulk_SMSAppDelegate.h"
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "sim/AdbServer.h"
#include "stores/windows/StoreWindows.h"
#include "ui/AndroidBulkSmsView.h"
#include "ui/GsmBulkSmsView.h"
#include "ui/QtOperator.h"
#include "ui/RecipientPanel.h"
#include "ui/UiHelpers.h"
#include "ui/ViewRegistry.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "text/NumberRules.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QDialog>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>

namespace {

TEST(Views, EveryDialogControllerHasAView) {
    TestDataHome home;
    ViewRegistry::registerStandardViews();
    ScriptedOperator op;
    Gsm_Bulk_Sms_Wnd gsm(op, home.folder);
    Bulk_SMSAppDelegate android(op, home.folder);
    MainWindows windows(android, gsm);
    Mobile_Sel_Wnd selection(windows);
    GSM_DEV_Conn_Step_Wnd gsmSteps;
    Connection_Info androidSteps(op);
    SingleShotCopyFailure listCopy;
    OneByOneCopyFailure messageCopy("1");
    for (DialogController* dialog : std::initializer_list<DialogController*>{
             &selection, &gsmSteps, &androidSteps, &gsm.deviceListWindow(), &listCopy, &messageCopy}) {
        std::unique_ptr<QDialog> view(ViewRegistry::createView(*dialog, nullptr));
        ASSERT_NE(view, nullptr) << dialog->metaObject()->className();
        EXPECT_FALSE(view->grab().isNull());
    }
}

TEST(Views, ComposerShowsWhatTheMessageCostsAsItIsTyped) {
    TestDataHome home;
    ScriptedOperator op;
    Gsm_Bulk_Sms_Wnd gsm(op, home.folder);
    gsm.windowDidLoad();
    gsm.setTextChangeNotifications(true);
    DefaultCountry storeCountry;
    StoreWindows stores(op, home.folder, storeCountry);
    GsmBulkSmsView view(gsm, stores);
    view.resize(1100, 760);
    view.show();
    auto* composer = view.findChild<QPlainTextEdit*>("_messageEdit");
    auto* cost = view.findChild<QLabel*>("messageCost");
    ASSERT_NE(composer, nullptr);
    ASSERT_NE(cost, nullptr);
    composer->setPlainText(QString(161, QLatin1Char('a')));
    EXPECT_EQ(cost->text(), "(GSM 7-bit, 2 SMS parts)");
    composer->setPlainText("Ol\u00E1, a\u00E7\u00E3o! \u041F\u0440\u0438\u0432\u0435\u0442 {5} \u20AC10");
    EXPECT_EQ(cost->text(), "(Unicode, 1 SMS)");
    EXPECT_EQ(gsm.characterCounterText(), QStringLiteral("25 Characters"));
    // A paste past the limit: the box keeps what fits, and the operator is told what was left out.
    composer->insertPlainText(QString(1700, QLatin1Char('b')));
    EXPECT_EQ(composer->toPlainText().size(), 1600);
    EXPECT_EQ(gsm.characterCounterText(), QStringLiteral("1600 Characters"));
    EXPECT_EQ(op.alerts(), QStringList{"\n" + messageCutNotice(125)});
    // BULKSMS_SCREENSHOT_DIR keeps a picture of the window, to look at it as a person would.
    const QString pictures = qEnvironmentVariable("BULKSMS_SCREENSHOT_DIR");
    if (!pictures.isEmpty())
        view.grab().save(pictures + "/gsm-composer.png");
}

// Once a kind is chosen the chooser makes way for what it opened (here the connection steps),
// comes back when the operator goes back, and its session ends with the operator's answer.
TEST(Views, TheChooserStepsAsideForWhatItOpened) {
    ViewRegistry::registerStandardViews();
    TestDataHome home;
    QtOperator op(home.folder);
    Gsm_Bulk_Sms_Wnd gsm(op, home.folder);
    Bulk_SMSAppDelegate android(op, home.folder);
    MainWindows windows(android, gsm);
    Mobile_Sel_Wnd chooser(windows);
    const auto press = [](const QString& text) {
        QWidget* dialog = QApplication::activeModalWidget();
        for (QPushButton* b : dialog ? dialog->findChildren<QPushButton*>() : QList<QPushButton*>())
            if (b->text().startsWith(text))
                return b->click();
        ADD_FAILURE() << "no " << text.toStdString() << " on the dialog in front";
    };
    // The dialogs in front, as the operator meets them: which is shown, and whether the chooser is.
    QStringList seen;
    const auto look = [&] {
        QWidget* front = QApplication::activeModalWidget();
        bool chooserShown = false;
        for (QWidget* w : QApplication::topLevelWidgets())
            chooserShown |= w->isVisible() && w->inherits("MobileSelView");
        seen << QStringLiteral("%1%2").arg(front ? front->metaObject()->className() : "none",
                                           chooserShown ? " + chooser" : "");
    };
    QTimer::singleShot(50, [&] {
        look();
        press("GSM Modem");
    });
    QTimer::singleShot(150, [&] {
        look();
        press("Back");
    });
    QTimer::singleShot(250, [&] {
        look();
        press("Android Phone");
    });
    QTimer::singleShot(350, [&] {
        look();
        press("Cancel");
    });
    EXPECT_EQ(op.runModal(chooser), 0);
    EXPECT_EQ(seen, (QStringList{"MobileSelView + chooser", "GsmDevConnStepView", "MobileSelView + chooser",
                                 "ConnectionInfoView"}))
        << seen.join(" | ").toStdString();
}

TEST(Views, StepButtonsEndTheDialogWithTheirCodes) {
    ViewRegistry::registerStandardViews();
    const struct {
        const char* button;
        int code;
    } cases[] = {{"Continue", 1}, {"Cancel", 0}, {"Back", DialogController::NoCode}};
    for (const auto& c : cases) {
        GSM_DEV_Conn_Step_Wnd steps;
        std::unique_ptr<QDialog> view(ViewRegistry::createView(steps, nullptr));
        for (QPushButton* b : view->findChildren<QPushButton*>())
            if (b->text() == c.button)
                b->click();
        EXPECT_TRUE(steps.isEnded()) << c.button;
        EXPECT_EQ(steps.endCode(), c.code) << c.button;
    }
}

TEST(Views, MainWindowFollowsItsController) {
    TestDataHome home;
    ScriptedOperator op;
    Bulk_SMSAppDelegate android(op, home.folder);
    DefaultCountry storeCountry;
    StoreWindows stores(op, home.folder, storeCountry);
    AndroidBulkSmsView view(android, stores);
    android.bringToFront();
    EXPECT_TRUE(view.isVisible());
    EXPECT_EQ(view.windowTitle(), android.title());

    android.selection().port_val_str_array = QStringList{"Pixel", "Galaxy"};
    android.selection().sel_port_name_str = "Pixel";
    auto* devices = view.findChild<QComboBox*>("_cb_ports_ComboBox");
    ASSERT_NE(devices, nullptr);
    // The phone search finds an offline phone (its message is shown) and the window is closed
    // without a choice.
    sim::PhoneConfig offline = sim::PhoneConfig::typical();
    offline.state = "offline";
    sim::AdbServer phones({offline});
    ASSERT_TRUE(phones.start(0));
    qputenv("ADB_SERVER_SOCKET", phones.socketSpec().toUtf8());
    op.onModal([](DialogController& d) { d.endModal(1); });
    op.onModal<Android_Ph_List_Wnd>([](Android_Ph_List_Wnd& search) {
        search.waitForSearch();
        search.Close_Btn();
    });
    android.connectDevice(); // the search window opens a second later
    ASSERT_TRUE(spinUntil([&] { return android.noDeviceNoticeVisible(); }));
    qunsetenv("ADB_SERVER_SOCKET");
    EXPECT_EQ(op.alerts(), QStringList{"\nDevice is offline. please reconnect your device."});
    EXPECT_EQ(devices->count(), 0);
    EXPECT_TRUE(view.findChild<QPushButton*>("_NO_Device_Ticker")->isVisibleTo(&view));
    EXPECT_EQ(view.findChild<QPushButton*>("_Device_Name_Ticker")->text(),
              "No Mobile Phone Device is selected.");

    android.hide();
    EXPECT_FALSE(view.isVisible());
}

TEST(Views, ClosingTheWindowAsksBeforeQuitting) {
    TestDataHome home;
    ScriptedOperator op;
    Bulk_SMSAppDelegate android(op, home.folder);
    DefaultCountry storeCountry;
    StoreWindows stores(op, home.folder, storeCountry);
    AndroidBulkSmsView view(android, stores);
    android.bringToFront();
    op.answerNo();
    EXPECT_FALSE(view.close());
    EXPECT_FALSE(op.quitRequested());
    EXPECT_EQ(op.questions(), QStringList{"\nDo you really want to exit from 'Ostrel Bulk SMS'?"});
}

TEST(UiHelpers, GroupBoxesSwitchTheirDirectControlsOnly) {
    QGroupBox group;
    auto* layout = new QVBoxLayout(&group);
    auto* edit = new QLineEdit(&group);
    auto* label = new QLabel("Total", &group);
    auto* inner = new QGroupBox(&group);
    auto* deep = new QLineEdit(inner);
    layout->addWidget(edit);
    layout->addWidget(label);
    layout->addWidget(inner);

    SetObjEnabled(&group, false);
    EXPECT_TRUE(group.isEnabled());
    EXPECT_FALSE(edit->isEnabled());
    EXPECT_FALSE(label->isEnabled());
    EXPECT_TRUE(deep->isEnabled()); // one level deep only
    SetObjEnabled(&group, true);
    EXPECT_TRUE(edit->isEnabled());
}

TEST(UiHelpers, HyperlinkEscapesItsText) {
    EXPECT_EQ(
        hyperlinkText("a<b", "http://x/?a=1&b=2"),
        "<a href=\"http://x/?a=1&amp;b=2\" style=\"color:blue; text-decoration:underline;\">a&lt;b</a>");
}

// The GSM window's recipient panel, as the operator finds it.
class RecipientPanelView : public ::testing::Test {
protected:
    RecipientPanelView() { gsm.windowDidLoad(); }
    TestDataHome home;
    ScriptedOperator op;
    Gsm_Bulk_Sms_Wnd gsm{op, home.folder};
    DefaultCountry storeCountry;
    StoreWindows stores{op, home.folder, storeCountry};
    RecipientPanel panel{gsm, gsm.carriedRun(), stores};
};

TEST_F(RecipientPanelView, TypedNumbersAppearInTheirOrderAndAreCounted) {
    auto* number = panel.findChild<QLineEdit*>("_numberEdit");
    auto* composer = panel.findChild<QPlainTextEdit*>("_messageEdit");
    ASSERT_TRUE(number && composer);

    QTest::keyClicks(composer, "Hi");
    for (const char* n : {"111", "222"}) {
        QTest::keyClicks(number, n);
        QTest::keyClick(number, Qt::Key_Return);
    }
    QTest::keyClick(number, Qt::Key_Return); // blank field: Return does nothing
    EXPECT_TRUE(op.alerts().isEmpty());
    EXPECT_TRUE(number->text().isEmpty());
    EXPECT_EQ(panel.table()->model()->rowCount(), 2);
    EXPECT_EQ(panel.table()->model()->index(1, 0).data().toString(), "222");
    EXPECT_EQ(panel.table()->model()->index(1, 1).data().toString(), "Hi");
    bool counted = false;
    for (QLabel* label : panel.findChildren<QLabel*>())
        counted |= label->text() == "Total Numbers : 2";
    EXPECT_TRUE(counted);

    QTest::keyClicks(number, "12a");
    QTest::keyClick(number, Qt::Key_Return);
    EXPECT_EQ(op.alerts(), QStringList{"\nPlease enter a valid phone number."});
}

TEST_F(RecipientPanelView, TableSelectionReachesTheControllerAndFollowsInserts) {
    for (const char* n : {"1", "2", "3"})
        gsm.Create_Num_Msg_List(n, "");
    panel.table()->selectRow(1); // "2"
    EXPECT_EQ(gsm.selectedRows(), QList<int>{1});
    gsm.list().prepend(recipientRecord("4", ""));
    EXPECT_EQ(gsm.selectedRows(), QList<int>{2}); // still the record "2"
    EXPECT_EQ(panel.table()->selectionModel()->selectedRows().value(0).row(), 2);
}

TEST(RecipientPanelCountry, OneDefaultCountryForBothWindowsAndTheWrittenFormInTheTable) {
    TestDataHome home;
    home.folder.Check_Path_And_Create_Files();
    ScriptedOperator op;
    DefaultCountry country;
    Gsm_Bulk_Sms_Wnd gsm(op, home.folder, &country);
    Bulk_SMSAppDelegate android(op, home.folder, &country);
    StoreWindows stores(op, home.folder, country);
    RecipientPanel gsmPanel(gsm, gsm.carriedRun(), stores),
        androidPanel(android, android.carriedRun(), stores);
    auto* gsmCountry = gsmPanel.findChild<QComboBox*>("defaultCountryCombo");
    auto* androidCountry = androidPanel.findChild<QComboBox*>("defaultCountryCombo");
    ASSERT_TRUE(gsmCountry && androidCountry);
    EXPECT_EQ(gsmCountry->currentData().toString(), ""); // none until chosen

    gsmCountry->setCurrentIndex(gsmCountry->findData("GB"));
    EXPECT_EQ(country.region(), "GB");
    EXPECT_EQ(androidCountry->currentData().toString(), "GB");
    EXPECT_EQ(readAll(DefaultCountry::filePath(home.folder)), "GB\n");

    gsm.setSkipDuplicates(true);
    for (const char* n : {"07911 123456", "+44 12", "+44 7911 123456"}) {
        gsm.setNumberField(n);
        gsm.Add_number_To_List();
    }
    EXPECT_EQ(op.alerts(),
              (QStringList{"\nPlease enter a valid phone number.", "\nEntered number already exists."}));
    ASSERT_EQ(gsmPanel.table()->model()->rowCount(), 1);
    EXPECT_EQ(gsmPanel.table()->model()->columnCount(),
              3); // the E.164 form is not a column; the last run's mark is
    EXPECT_EQ(gsmPanel.table()->model()->index(0, 0).data().toString(), "07911123456");

    // A messy contact file: Ann four ways, three more people, two numbers that cannot exist.
    const QString file = home.root() + "/contacts.csv";
    ASSERT_TRUE(writeFileAtomically(file, "Name,Phone\nAnn,+44 7911 123456\nAnn (sheet),447911123456\n"
                                          "Ann (abroad),0044 (0)7911 123456\nBob,07911-123-457\n"
                                          "Cat,+44 12\nDan,(020) 7946 0958\nGus,07911 12345\n"));
    gsm.setNumberField(QString()); // the refused duplicate was kept there for correction
    op.chooseFile(file);
    op.onModal<Load_Num_Info>([](Load_Num_Info& q) { q.NoPressed(); }); // added to the list
    NumberLoader::of(gsm).Load_Number();
    ASSERT_TRUE(spinUntil([&] { return !NumberLoader::of(gsm).isLoading(); }));
    EXPECT_EQ(gsmPanel.table()->model()->rowCount(), 3);
    auto* refused = gsmPanel.findChild<QLabel*>("refusedNumbersNote");
    ASSERT_NE(refused, nullptr);
    EXPECT_TRUE(refused->isVisible() || !gsmPanel.isVisible());
    EXPECT_EQ(refused->text(), "Last load: 2 numbers that cannot exist (default country GB) left out");
    gsmPanel.resize(900, 600);
    gsmPanel.show();
    const QString pictures = qEnvironmentVariable("BULKSMS_SCREENSHOT_DIR");
    if (!pictures.isEmpty())
        gsmPanel.grab().save(pictures + "/recipient-country.png");

    androidCountry->setCurrentIndex(0);
    EXPECT_EQ(country.region(), "");
    EXPECT_EQ(gsmCountry->currentIndex(), 0);
}

TEST_F(RecipientPanelView, DelayedDeliveryBoxShowsItsDefaults) {
    auto* box = panel.findChild<QCheckBox*>("_Delayed_Delivry_Chk");
    auto* count = panel.findChild<QComboBox*>("_delayed_msg_count_combo");
    auto* time = panel.findChild<QComboBox*>("_delayed_time_combo");
    ASSERT_TRUE(box && count && time);
    EXPECT_FALSE(count->isEnabled());
    EXPECT_TRUE(gsm.delayedCountChoice().isEmpty()); // filling the lists chose nothing
    box->click();
    EXPECT_TRUE(count->isEnabled());
    EXPECT_EQ(count->currentText(), "15");
    EXPECT_EQ(time->currentText(), " 2  Minutes");
    time->setCurrentIndex(0);
    EXPECT_EQ(gsm.delaySchedule().pauseMilliseconds(), 5000);
    box->click();
    EXPECT_TRUE(count->currentText().isEmpty());
    EXPECT_FALSE(time->isEnabled());
}

TEST_F(RecipientPanelView, ALoadShowsItsProgressLocksTheListAndCancelKeepsIt) {
    gsm.Create_Num_Msg_List("111", "");
    auto* progress = panel.findChild<QProgressBar*>("_loadProgress");
    auto* cancel = panel.findChild<QPushButton*>("_cancelLoad");
    ASSERT_TRUE(progress && cancel);
    EXPECT_FALSE(progress->isVisibleTo(&panel));
    QPushButton* clearAll = nullptr;
    for (QPushButton* b : panel.findChildren<QPushButton*>())
        if (b->text() == "Clear All")
            clearAll = b;
    ASSERT_TRUE(clearAll);

    ListLoad& load = ListLoad::of(gsm);
    bool committed = true;
    ASSERT_TRUE(load.start(
        [](ListLoad& l) {
            for (qint64 row = 1; !l.cancelled(); ++row) { // a source that never ends by itself
                l.accept(QString::number(7700000000LL + row), "m");
                l.setProgress(row, 0.5);
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            return true;
        },
        [&](bool c, const LoadCounters&) { committed = c; }));
    ASSERT_TRUE(spinUntil([&] { return load.rowsRead() > 10 && progress->value() == 500; }));
    EXPECT_TRUE(progress->isVisibleTo(&panel));
    EXPECT_TRUE(cancel->isVisibleTo(&panel));
    EXPECT_TRUE(progress->text().contains("rows read")) << progress->text().toStdString();
    EXPECT_FALSE(clearAll->isEnabled());
    EXPECT_FALSE(panel.findChild<QLineEdit*>("_numberEdit")->isEnabled());
    EXPECT_FALSE(load.start([](ListLoad&) { return true; }, {})); // one load at a time
    const QString pictures = qEnvironmentVariable("BULKSMS_SCREENSHOT_DIR");
    if (!pictures.isEmpty())
        panel.grab().save(pictures + "/recipient-load.png");

    cancel->click();
    ASSERT_TRUE(spinUntil([&] { return !load.isRunning(); }));
    EXPECT_FALSE(committed);
    EXPECT_EQ(gsm.list().size(), 1);
    EXPECT_FALSE(progress->isVisibleTo(&panel));
    EXPECT_TRUE(clearAll->isEnabled());
}

} // namespace
