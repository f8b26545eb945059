#include "FullDisk.h"
#include "StoreWindowsFixture.h"
#include "core/FileUtils.h"
#include "list/windows/Load_Num_Info.h"
#include "stores/SentItemFile.h"
#include "stores/windows/ExportDialogs.h"
#include "stores/windows/Sent_Items.h"

#include <QDir>
#include <QFileInfo>

namespace {

class SentItemsTest : public StoreWindowsTest {
protected:
    void SetUp() override {
        StoreWindowsTest::SetUp();
        window.actOn(windows.get());
        ASSERT_TRUE(writeSentItemsFile(home.folder.SentItem_File_Path(),
                                       {{"111", "Hello\nthere", "01/02/2025", "Message sent successfully."},
                                        {"222", "Second", "01/02/2025", "+CMS ERROR: 38"},
                                        {"333", "Third", "02/02/2025", "Stopped."}}));
        ASSERT_TRUE(writeSentItemsFile(home.folder.SentItemAnd_File_Path(),
                                       {{"444", "Android one", "03/02/2025", ""}}));
    }
    Sent_Items& loaded() {
        window.startLoading();
        window.waitForLoading();
        EXPECT_TRUE(spinUntil([&] { return !window.loading(); }));
        return window;
    }
    Sent_Items window{op, home.folder};
};

TEST_F(SentItemsTest, LoadsTheActiveKindsFileAndShowsDetails) {
    loaded();
    EXPECT_TRUE(window.isGsm());
    ASSERT_EQ(window.nsSendListData().size(), 3);
    EXPECT_EQ(window.countLabel(), "Total Items : 3");
    window.setSelectedRows({0, 2});
    EXPECT_EQ(window.detailsText(), "Number\t: 111\r\n\r\nMessage\t: Hello\nthere\r\n\r\nDate\t\t: "
                                    "01/02/2025\r\n\r\nStatus\t: Message sent successfully.");

    windows->setFront(MainWindowController::Kind::Android);
    loaded();
    EXPECT_FALSE(window.isGsm());
    ASSERT_EQ(window.nsSendListData().size(), 1);
    window.setSelectedRows({0});
    EXPECT_EQ(window.detailsText(),
              "Number\t: 444\r\n\r\nMessage\t: Android one\r\n\r\nDate\t\t: 03/02/2025\r\n\r\nStatus\t: ");
}

TEST_F(SentItemsTest, ClearSelectedReachesTheFileOnlyAtCloseAndKeepsWhatRunsAppendedMeanwhile) {
    loaded();
    // A run of this or another process appends while the window is open, even a line the window
    // shows as well: the rewrite keeps it.
    ASSERT_TRUE(appendSentItem(home.folder, home.folder.SentItem_File_Path(),
                               {"111", "Hello\nthere", "01/02/2025", "Message sent successfully."}));
    const QByteArray before = readAll(home.folder.SentItem_File_Path());
    window.setSelectedRows({0, 1});
    window.Clear_Sel_Btn();
    EXPECT_EQ(window.nsSendListData().size(), 1);
    EXPECT_EQ(readAll(home.folder.SentItem_File_Path()), before);
    window.Close_Btn();
    EXPECT_EQ(readAll(home.folder.SentItem_File_Path()),
              "\a333\vThird\a02/02/2025\vStopped.\n\a111\vHello|AP*|DX/there\a01/02/2025\vMessage sent "
              "successfully.\n");
    EXPECT_EQ(permissionsOf(home.folder.SentItem_File_Path()), 0600u);

    loaded();
    const QByteArray same = readAll(home.folder.SentItem_File_Path());
    window.Close_Btn(); // no change: the same bytes
    EXPECT_EQ(readAll(home.folder.SentItem_File_Path()), same);
}

TEST_F(SentItemsTest, OperatorErrorsAndClearAll) {
    loaded();
    window.Clear_Sel_Btn();
    window.Send_To_Main_Btn();
    op.answerNo();
    window.Clear_All_Btn();
    EXPECT_EQ(window.nsSendListData().size(), 3);
    op.answerYes();
    window.Clear_All_Btn();
    EXPECT_TRUE(window.nsSendListData().isEmpty());
    EXPECT_TRUE(QFileInfo::exists(home.folder.SentItem_File_Path()));
    EXPECT_EQ(QFileInfo(home.folder.SentItem_File_Path()).size(), 0);
    window.Export_Btn();
    window.Clear_All_Btn();
    EXPECT_EQ(op.alerts(), (QStringList{"\n" + kSelectSentItem, "\n" + kSelectSentItem,
                                        "\n" + kSentItemsEmpty, "\n" + kSentItemsEmpty}));
    EXPECT_EQ(op.questions(), (QStringList{kClearEntireList, kClearEntireList}));
}

TEST_F(SentItemsTest, SendBackInsertsInOrderOrShowsTheSummary) {
    loaded();
    window.setSelectedRows({0, 2});
    window.Send_To_Main_Btn();
    EXPECT_EQ(gsm->numbers(), (QStringList{"111", "333"}));
    EXPECT_EQ(gsm->list().at(0).value("Message"), "Hello\nthere");

    gsm->setSkipDuplicates(true);
    op.onModal<Load_Num_Info>([](Load_Num_Info& d) { d.NoPressed(); });
    window.Send_To_Main_Btn(); // both numbers are there already
    EXPECT_EQ(gsm->numbers(), (QStringList{"111", "333"}));
    const QStringList alerts = op.alerts();
    ASSERT_EQ(alerts.size(), 2);
    EXPECT_EQ(alerts[0], "\nSelected sent items inserted in SMS Composer successfully.");
    EXPECT_TRUE(alerts[1].contains("Skipped due to user settings = 2")) << alerts[1].toStdString();
}

TEST_F(SentItemsTest, ExportFiltersAndAddsTheExtension) {
    loaded();
    op.onModal<Status_Export_Option>([](Status_Export_Option& d) {
          d.Export_Sent_RD();
          d.OKPressed();
      })
        .onModal<Export_Option>([](Export_Option& d) {
            d.Export_In_Text_RD();
            d.OKPressed();
        })
        .chooseFile(path("sent"))
        .onModal<Open_Export_Log>([this](Open_Export_Log& d) {
            EXPECT_EQ(d.Export_File_Path(), path("sent.txt"));
            d.OKPressed();
        });
    window.Export_Btn();
    ASSERT_TRUE(QFileInfo::exists(path("sent.txt")));
    const QString text = reportText(readAll(path("sent.txt")));
    EXPECT_TRUE(text.contains("Number\t: 111"));
    EXPECT_FALSE(text.contains("Number\t: 222"));
    EXPECT_EQ(op.events().last().kind, ScriptedOperator::Kind::OpenWith);
}

TEST_F(SentItemsTest, AFilterWithNothingInItsGroupStaysOpen) {
    ASSERT_TRUE(writeSentItemsFile(home.folder.SentItem_File_Path(), {{"1", "m", "d", "Stopped."}}));
    loaded();
    op.onModal<Status_Export_Option>([](Status_Export_Option& d) {
        d.Export_Sent_RD();
        d.OKPressed();
        EXPECT_FALSE(d.isEnded());
        EXPECT_EQ(d.Status_EXPORT_MODE(), 3);
        d.CancelPressed();
    });
    window.Export_Btn();
    EXPECT_EQ(op.alerts(), QStringList{"\n" + kNoItemForExportOption});
}

// An export or a rewrite at close that cannot be written tells the operator which file and why,
// never offers to open it, and leaves a file already there exactly as it was. A full disk is a
// file size limit on a child of this test running the window.
TEST_F(SentItemsTest, AWriteThatFailsIsToldAndKeepsTheOldFile) {
    windows->setFront(MainWindowController::Kind::Android);
    loaded();
    ASSERT_TRUE(QDir().mkpath(path("report.html")));
    writeFile("sent.txt", "last week's\n");
    writeFile("sent.xlsx", "last week's\n");
    const struct {
        void (Export_Option::*format)();
        QString target, reason;
        qint64 sizeLimit; // negative: none
    } cases[] = {{&Export_Option::Export_In_Text_RD, path("sent.txt"), "File too large", 40},
                 {&Export_Option::Export_In_Xlsx_RD, path("sent.xlsx"), "File too large", 2048},
                 {&Export_Option::Export_In_Html_RD, path("report.html"), "Is a directory", -1}};
    for (const auto& c : cases)
        EXPECT_EQ(inChildWithFileSizeLimit(c.sizeLimit,
                                           [&] {
                                               op.onModal<Status_Export_Option>([](Status_Export_Option& d) {
                                                     d.Export_All_RD();
                                                     d.OKPressed();
                                                 })
                                                   .onModal<Export_Option>([&](Export_Option& d) {
                                                       (d.*c.format)();
                                                       d.OKPressed();
                                                   })
                                                   .chooseFile(c.target);
                                               window.Export_Btn();
                                               return (op.dialogs() + op.alerts()).join('|');
                                           }),
                  "Status_Export_Option|Export_Option|\n" + kErrorInFileAccessing + "\n" + c.target + ": " +
                      c.reason);
    EXPECT_EQ(readAll(path("sent.txt")) + readAll(path("sent.xlsx")), "last week's\nlast week's\n");
    EXPECT_EQ(QDir(home.root()).entryList(QDir::Files | QDir::Hidden),
              (QStringList{"sent.txt", "sent.xlsx"}));

    const QByteArray before = readAll(home.folder.SentItemAnd_File_Path());
    EXPECT_EQ(inChildWithFileSizeLimit(16,
                                       [&] {
                                           window.Close_Btn();
                                           return op.alerts().join('|');
                                       }),
              "\n" + kErrorInFileAccessing + "\n" + home.folder.SentItemAnd_File_Path() + ": File too large");
    EXPECT_EQ(readAll(home.folder.SentItemAnd_File_Path()), before);
}

} // namespace
