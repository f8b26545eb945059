// The stored-list windows and the export dialogs: each has a view that shows its
// controller and hands clicks and selections back. BULKSMS_SCREENSHOT_DIR, when set,
// receives a PNG of each window as a person would see it.
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "list/DefaultCountry.h"
#include "stores/SentItemFile.h"
#include "stores/windows/Exclusion_Wizard.h"
#include "stores/windows/ExportDialogs.h"
#include "stores/windows/Sent_Items.h"
#include "stores/windows/Templates.h"
#include "stores/windows/UpdateTemp.h"
#include "stores/windows/Update_Ex_Num.h"
#include "ui/ViewRegistry.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"

#include <QDialog>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QTableView>

#include <gtest/gtest.h>

#include <memory>

namespace {

void screenshot(QWidget& view, const QString& name) {
    const QString dir = qEnvironmentVariable("BULKSMS_SCREENSHOT_DIR");
    const QPixmap picture = view.grab();
    EXPECT_FALSE(picture.isNull()) << name.toStdString();
    if (!dir.isEmpty())
        picture.save(dir + "/" + name + ".png");
}

class StoreViewsTest : public ::testing::Test {
protected:
    void SetUp() override {
        ViewRegistry::registerStandardViews();
        home.folder.Check_Path_And_Create_Files();
    }
    std::unique_ptr<QDialog> viewOf(DialogController& dialog) {
        std::unique_ptr<QDialog> view(ViewRegistry::createView(dialog, nullptr));
        EXPECT_NE(view, nullptr) << dialog.metaObject()->className();
        view->show();
        return view;
    }
    QPushButton* button(QWidget& view, const QString& text) {
        for (QPushButton* b : view.findChildren<QPushButton*>())
            if (b->text() == text && b->isVisibleTo(&view))
                return b;
        ADD_FAILURE() << "no button " << text.toStdString();
        return nullptr;
    }

    TestDataHome home;
    ScriptedOperator op;
};

TEST_F(StoreViewsTest, SentItemsViewShowsRecordsDetailsAndForwardsSelection) {
    ASSERT_TRUE(
        writeSentItemsFile(home.folder.SentItem_File_Path(),
                           {{"+447700900001", "Your parcel is ready.\nReply STOP to opt out.", "23/11/2026",
                             "Message sent successfully."},
                            {"+447700900002", "Your parcel is ready.", "23/11/2026", "+CMS ERROR: 38"}}));
    Sent_Items window(op, home.folder);
    window.startLoading();
    window.waitForLoading();
    ASSERT_TRUE(spinUntil([&] { return !window.loading(); }));
    auto view = viewOf(window);
    auto* table = view->findChild<QTableView*>();
    ASSERT_EQ(table->model()->rowCount(), 2);
    EXPECT_FALSE(table->isColumnHidden(3));
    table->selectRow(1);
    EXPECT_EQ(window.selectedRows(), QList<int>{1});
    EXPECT_TRUE(view->findChild<QPlainTextEdit*>()->toPlainText().contains("+CMS ERROR: 38"));
    table->selectRow(0);
    screenshot(*view, "sent-items");
    button(*view, "Close")->click();
    EXPECT_TRUE(window.isEnded());
}

TEST_F(StoreViewsTest, TemplatesAndEditorViews) {
    ASSERT_TRUE(writeFileAtomically(home.folder.Templates_File_Path(),
                                    "Dear customer, your order is ready.\nSee you at 5\n"));
    Templates window(op, home.folder);
    window.startLoading();
    window.waitForLoading();
    ASSERT_TRUE(spinUntil([&] { return !window.loading(); }));
    auto view = viewOf(window);
    view->findChild<QTableView*>()->selectRow(1);
    EXPECT_EQ(window.selectedRows(), QList<int>{1});
    screenshot(*view, "templates");

    window.editor().beginUpdate(1, "See you at 5");
    auto editor = viewOf(window.editor());
    auto* text = editor->findChild<QPlainTextEdit*>();
    EXPECT_EQ(text->toPlainText(), "See you at 5");
    text->setPlainText("See you at 6");
    EXPECT_EQ(window.editor().text(), "See you at 6");
    screenshot(*editor, "template-editor");
}

TEST_F(StoreViewsTest, ExclusionWizardFollowsItsScreens) {
    DefaultCountry country;
    Exclusion_Wizard wizard(op, home.folder, country);
    wizard.startLoading();
    wizard.waitForLoading();
    ASSERT_TRUE(spinUntil([&] { return !wizard.loading(); }));
    auto view = viewOf(wizard);
    auto* pages = view->findChild<QStackedWidget*>();
    EXPECT_EQ(pages->currentIndex(), 0);
    screenshot(*view, "exclusion-start");
    button(*view, "New List...")->click();
    EXPECT_EQ(pages->currentIndex(), 1);
    wizard.setNameField("Staff");
    button(*view, "Next >")->click();
    EXPECT_EQ(pages->currentIndex(), 2);
    for (const char* n : {"+442079460958", "5550100"}) {
        wizard.setNumberField(n);
        wizard.Add_Number_Btn();
    }
    EXPECT_EQ(view->findChildren<QTableView*>().at(2)->model()->rowCount(), 2);
    screenshot(*view, "exclusion-numbers");

    Update_Ex_Num editor(wizard, op, 0, "5550100");
    auto editorView = viewOf(editor);
    screenshot(*editorView, "exclusion-number-editor");
}

TEST_F(StoreViewsTest, ExportChoicesShowAndSetTheirModes) {
    Status_Export_Option filter(op, [] { return QStringList{"Message sent successfully."}; });
    auto filterView = viewOf(filter);
    screenshot(*filterView, "export-filter");
    Export_Option format;
    auto formatView = viewOf(format);
    for (QWidget* w : formatView->findChildren<QWidget*>())
        if (w->objectName() == "_export_in_Xlsx")
            static_cast<QAbstractButton*>(w)->click();
    EXPECT_EQ(format.SENT_EXPORT_MODE(), 2);
    screenshot(*formatView, "export-format");
    Open_Export_Log open(op, home.root() + "/sent items.txt");
    auto openView = viewOf(open);
    screenshot(*openView, "export-open");
}

} // namespace
