// A working day at the GSM window, driven through the real widgets with QTest as a person
// would: load a file, use a template, set options and start again, type, send to virtual
// modems, stop half-way, export and read the report, read the marks and take the offer to send
// the rest. What the
// virtual network received is the measure of what was sent.
#include "core/Clock.h"
#include "core/FileUtils.h"
#include "core/MainWindows.h"
#include "list/DefaultCountry.h"
#include "list/windows/Send_Msg_Info.h"
#include "sending/windows/Bulk_SMSAppDelegate.h"
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "sending/windows/SMS_Sending.h"
#include "sim/VirtualModem.h"
#include "stores/windows/ExportDialogs.h"
#include "stores/windows/StoreWindows.h"
#include "stores/windows/Templates.h"
#include "ui/GsmBulkSmsView.h"
#include "ui/SendingJobView.h"
#include "ui/ViewRegistry.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"

#include <QAbstractItemModel>
#include <QCheckBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSplitter>
#include <QTableView>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

namespace {

const QStringList kMorningList = {"+447400123461", "+447400123456", "+447400123465",
                                  "+447400123458", "+447400123463", "+447400123457"};

QPushButton* button(QWidget& in, const QString& text) {
    for (QPushButton* b : in.findChildren<QPushButton*>())
        if (b->text() == text && b->isVisibleTo(&in))
            return b;
    ADD_FAILURE() << "no button " << text.toStdString();
    return nullptr;
}

QCheckBox* checkBox(QWidget& in, const QString& text) {
    for (QCheckBox* b : in.findChildren<QCheckBox*>())
        if (b->text() == text)
            return b;
    ADD_FAILURE() << "no check box " << text.toStdString();
    return nullptr;
}

// A click where a person aims: a check box on its box, a button in its middle.
void click(QAbstractButton* b) {
    ASSERT_NE(b, nullptr);
    const QPoint at = qobject_cast<QCheckBox*>(b) ? QPoint(8, b->height() / 2) : b->rect().center();
    QTest::mouseClick(b, Qt::LeftButton, {}, at);
}

// The OK of a dialog's button box.
void pressOk(QDialog& view) {
    auto* box = view.findChild<QDialogButtonBox*>();
    ASSERT_NE(box, nullptr);
    click(box->button(QDialogButtonBox::Ok));
}

// The job's Export as a person answers it: every item, as a text file at `path`, not opened.
void scriptReportExport(ScriptedOperator& op, const QString& path) {
    op.onModal<Status_Export_Option>([](Status_Export_Option& filter) {
        std::unique_ptr<QDialog> view(ViewRegistry::createView(filter, nullptr));
        view->show();
        click(view->findChild<QRadioButton*>("_export_Al"));
        pressOk(*view);
    });
    op.onModal<Export_Option>([](Export_Option& format) {
        std::unique_ptr<QDialog> view(ViewRegistry::createView(format, nullptr));
        view->show();
        for (QRadioButton* r : view->findChildren<QRadioButton*>())
            if (r->text() == "Text file (.txt)")
                click(r);
        pressOk(*view);
    });
    op.chooseFile(path);
    op.onModal<Open_Export_Log>([](Open_Export_Log& offer) { offer.endModal(0); });
}

// "Apply it before sending?": to every number, with the view's own buttons.
void applyComposerToAll(Send_Msg_Info& question) {
    std::unique_ptr<QDialog> view(ViewRegistry::createView(question, nullptr));
    view->show();
    click(button(*view, "OK"));
}

// The column titled `title` of a table, top down.
QStringList column(const QTableView& table, const QString& title) {
    const QAbstractItemModel& model = *table.model();
    QStringList values;
    for (int c = 0; c < model.columnCount(); ++c)
        if (model.headerData(c, Qt::Horizontal).toString() == title)
            for (int r = 0; r < model.rowCount(); ++r)
                values << model.index(r, c).data().toString();
    return values;
}

void screenshot(QWidget& view, const QString& name) {
    const QString dir = qEnvironmentVariable("BULKSMS_SCREENSHOT_DIR");
    if (!dir.isEmpty())
        view.grab().save(dir + "/" + name + ".png");
}

// The desktop as the program builds it: both main windows, the stored lists, the GSM window shown.
struct Desk {
    Desk(Operator& op, const DataFolder& folder)
        : gsm(op, folder), android(op, folder), windows(android, gsm), stores(op, folder, country),
          view(gsm, stores) {
        gsm.windowDidLoad();
        gsm.setTextChangeNotifications(true);
        gsm.bringToFront();
        view.resize(1200, 800);
        view.show();
    }
    QTableView& list() { return *view.findChild<QTableView*>(); }
    QPlainTextEdit& composer() { return *view.findChild<QPlainTextEdit*>("_messageEdit"); }

    Gsm_Bulk_Sms_Wnd gsm;
    Bulk_SMSAppDelegate android;
    MainWindows windows;
    DefaultCountry country;
    StoreWindows stores;
    GsmBulkSmsView view;
};

class OperatorDay : public ::testing::Test {
protected:
    void SetUp() override {
        ViewRegistry::registerStandardViews();
        home.folder.Check_Path_And_Create_Files();
        desk = std::make_unique<Desk>(op, home.folder);
    }
    void TearDown() override { Clock::setScale(0.001); }

    // Closing the program and starting it again: every window object is made anew.
    void restart() {
        desk.reset();
        desk = std::make_unique<Desk>(op, home.folder);
    }

    void startModems(int count, int networkDelayMs) {
        for (int i = 0; i < count; ++i) {
            sim::ModemIdentity id;
            id.imei = QString::number(356000000000300LL + i);
            sim::ModemBehaviour network;
            network.networkDelayMs = networkDelayMs;
            modems.push_back(std::make_unique<sim::VirtualModem>(id, network));
            ASSERT_TRUE(modems.back()->start());
            selectModem(desk->gsm.selection(), modems.back()->devicePath());
        }
        desk->gsm.applyDeviceSelection();
    }

    // Every number the network received a message for, as often as it did.
    QStringList received() const {
        QStringList numbers;
        for (const auto& modem : modems)
            for (const auto& message : modem->received())
                numbers << message.number;
        return numbers;
    }
    QStringList receivedTexts() const {
        QStringList texts;
        for (const auto& modem : modems)
            for (const auto& message : modem->received())
                texts << message.text;
        return texts;
    }

    TestDataHome home;
    ScriptedOperator op;
    std::unique_ptr<Desk> desk;
    std::vector<std::unique_ptr<sim::VirtualModem>> modems;
};

TEST_F(OperatorDay, FromTheMorningListToTheRestAfterAStop) {
    // Morning: the day's list comes from a file, in the order the office put it.
    const QString file = home.root() + "/morning.txt";
    ASSERT_TRUE(writeFileAtomically(file, kMorningList.join("\r\n").toUtf8()));
    op.chooseFile(file);
    click(button(desk->view, "Load Numbers..."));
    ASSERT_TRUE(spinUntil([&] { return column(desk->list(), "Number").size() == kMorningList.size(); }));
    EXPECT_EQ(column(desk->list(), "Number"), kMorningList);

    // A template replaces a half-typed message, after asking.
    QTest::keyClicks(&desk->composer(), "Dear customer,");
    op.answerYes(); // "The composer holds a message. Replace it with the template?"
    op.onModal<Templates>([&](Templates& templates) {
        std::unique_ptr<QDialog> view(ViewRegistry::createView(templates, nullptr));
        view->show();
        // The kept templates are read on a worker; what is added before they arrive would go
        // with the old list.
        ASSERT_TRUE(spinUntil([&] {
            QCoreApplication::processEvents();
            return !templates.loading();
        }));
        templates.Create_Template_List("Your order is ready for collection.");
        auto* table = view->findChild<QTableView*>();
        ASSERT_NE(table, nullptr);
        // The list is filled as the window takes its templates in; a busy machine takes a while.
        ASSERT_TRUE(spinUntil([&] {
            QCoreApplication::processEvents();
            return table->model()->rowCount() > 0 && table->visualRect(table->model()->index(0, 0)).isValid();
        }));
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {},
                          table->visualRect(table->model()->index(0, 0)).center());
        click(button(*view, "Use in Composer"));
        if (!templates.isEnded())
            click(button(*view, "Close"));
    });
    click(button(desk->view, "Templates..."));
    EXPECT_TRUE(spinUntil([&] {
        return desk->composer().toPlainText() == "Your order is ready for collection.";
    })) << desk->composer().toPlainText().toStdString();
    EXPECT_EQ(op.questions(), QStringList{"The composer holds a message. Replace it with the template?"});

    // Options are set once and are there the next morning.
    click(checkBox(desk->view, "Skip duplicate numbers"));
    click(checkBox(desk->view, "Save to sent items"));
    restart();
    EXPECT_TRUE(checkBox(desk->view, "Skip duplicate numbers")->isChecked());
    EXPECT_TRUE(checkBox(desk->view, "Save to sent items")->isChecked());
    EXPECT_FALSE(checkBox(desk->view, "Apply exclusion lists")->isChecked());

    // Typing a long message moves nothing on the screen.
    op.chooseFile(file);
    click(button(desk->view, "Load Numbers..."));
    ASSERT_TRUE(spinUntil([&] { return column(desk->list(), "Number").size() == kMorningList.size(); }));
    auto* splitter = desk->view.findChild<QSplitter*>("recipientSplitter");
    ASSERT_NE(splitter, nullptr);
    QCoreApplication::processEvents();
    const QList<int> sizes = splitter->sizes();
    const int width = desk->view.width();
    desk->composer().setFocus();
    QTest::keyClicks(&desk->composer(), QString(3, 'x'));
    QTest::keyClicks(&desk->composer(),
                     QStringLiteral("Our shop on Market Street opens at nine. ").repeated(12));
    QCoreApplication::processEvents();
    EXPECT_EQ(splitter->sizes(), sizes);
    EXPECT_EQ(desk->view.width(), width);
    screenshot(desk->view, "day-composer");
    desk->composer().setPlainText("Your order is ready for collection.");

    // Midday: send through two modems, and stop half-way.
    Clock::setScale(0.05);
    startModems(2, 1500);
    QString stoppedLine;
    const QString report = home.root() + "/midday report.txt";
    QString offer;
    op.onModal<Send_Msg_Info>(applyComposerToAll);
    op.answerYes(); // "Are you sure" at Stop
    op.onModal<SMS_Sending>([&](SMS_Sending& job) {
        SendingJobView view(job, nullptr);
        view.show();
        ASSERT_TRUE(spinUntil([&] { return received().size() >= 2; }, std::chrono::seconds(60)));
        click(button(view, "Stop"));
        ASSERT_TRUE(spinUntil([&] { return !job.running() && button(view, "Close")->isEnabled(); },
                              std::chrono::seconds(60)));
        stoppedLine = job.notice();
        offer = view.findChild<QPushButton*>("_send_rest_btn")->text();
        scriptReportExport(op, report);
        click(button(view, "Export..."));
        ASSERT_TRUE(spinUntil([&] { return op.dialogs().contains("Open_Export_Log"); }));
        screenshot(view, "day-stopped");
        click(button(view, "Close"));
    });
    click(button(desk->view, "Send"));
    ASSERT_TRUE(spinUntil([&] { return !desk->gsm.sendingUnderWay(); }, std::chrono::seconds(90)));
    const QStringList firstRun = received();
    ASSERT_GE(firstRun.size(), 2);
    ASSERT_LT(firstRun.size(), kMorningList.size()) << "the stop came too late to leave anyone";
    const int rest = int(kMorningList.size() - firstRun.size());
    EXPECT_TRUE(stoppedLine.contains(QStringLiteral("Stopped: %1 of %2 sent.").arg(firstRun.size()).arg(6)))
        << stoppedLine.toStdString();
    EXPECT_EQ(offer, rest == 1 ? QString("Send to the one not yet sent")
                               : QStringLiteral("Send to the %1 not yet sent").arg(rest));

    // The report opens as one UTF-8 text, private to the operator, and tells for each recipient
    // what the network did and through which modem.
    QFile reportFile(report);
    ASSERT_TRUE(reportFile.open(QIODevice::ReadOnly)) << report.toStdString();
    EXPECT_EQ(reportFile.permissions() & 0x0077, 0); // nobody else's business: no group or other bits
    const QString text = reportText(reportFile.readAll());
    const QStringList records = text.split(QString(76, '=') + '\n', Qt::SkipEmptyParts).mid(1);
    ASSERT_EQ(records.size(), kMorningList.size()) << text.toStdString();
    for (const QString& record : records) {
        const QString number = record.section('\n', 0, 0).section(": ", 1);
        const bool sent = firstRun.contains(number);
        EXPECT_EQ(record.contains("Sent Status\t: Message sent successfully."), sent) << record.toStdString();
        EXPECT_EQ(record.contains("Device\t\t: /dev/"), sent) << record.toStdString();
        EXPECT_TRUE(record.contains(sent ? "Attempts\t: 1\n" : "Attempts\t: 0\n")) << record.toStdString();
        EXPECT_TRUE(record.contains("Message Reference\t: ") && record.contains("Delivery State\t: "));
    }

    // The list marks each row by what the network did.
    const QStringList numbers = column(desk->list(), "Number");
    const QStringList marks = column(desk->list(), "Last Run");
    for (int i = 0; i < numbers.size(); ++i)
        EXPECT_EQ(marks.at(i), firstRun.contains(numbers.at(i)) ? "Sent" : "Not sent")
            << numbers.at(i).toStdString();

    // Afternoon: Send again offers only the rest; nobody gets the message twice.
    op.answerYes(); // "... Send only to the N not yet sent?"
    op.onModal<SMS_Sending>([&](SMS_Sending& job) {
        SendingJobView view(job, nullptr);
        view.show();
        ASSERT_TRUE(spinUntil([&] { return !job.running() && button(view, "Close")->isEnabled(); },
                              std::chrono::seconds(60)));
        click(button(view, "Close"));
    });
    click(button(desk->view, "Send"));
    ASSERT_TRUE(spinUntil([&] { return !desk->gsm.sendingUnderWay(); }, std::chrono::seconds(90)));
    QStringList all = received();
    EXPECT_EQ(all.size(), kMorningList.size());
    all.sort();
    QStringList wanted = kMorningList;
    wanted.sort();
    EXPECT_EQ(all, wanted);
    // The list came without messages: what went out is the composer's text, applied at Send.
    EXPECT_EQ(receivedTexts(), QStringList(kMorningList.size(), "Your order is ready for collection."));
    EXPECT_EQ(column(desk->list(), "Last Run"), QStringList(kMorningList.size(), "Sent"));
    EXPECT_TRUE(op.questions().last().startsWith(
        QStringLiteral("This message was already sent to %1 of these 6 recipients.").arg(firstRun.size())))
        << op.questions().last().toStdString();
    screenshot(desk->view, "day-evening");
}

} // namespace
