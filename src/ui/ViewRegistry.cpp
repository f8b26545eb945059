#include "ViewRegistry.h"

#include "AndroidPhListView.h"
#include "AndroidTroubleShootingView.h"
#include "AutomatedGsmSendingView.h"
#include "CampaignPageView.h"
#include "CampaignsView.h"
#include "ConnectionInfoView.h"
#include "CopyFailureViews.h"
#include "ExcelDynamicMsgView.h"
#include "ExcelSmsExampleView.h"
#include "ExclusionWizardView.h"
#include "ExportOptionView.h"
#include "FillMsgInListView.h"
#include "GsmDevConnStepView.h"
#include "GsmDeviceListView.h"
#include "ImportExcelView.h"
#include "InboxOptionsView.h"
#include "InboxView.h"
#include "LoadNumInfoView.h"
#include "ManuallyAddNumView.h"
#include "MobileSelView.h"
#include "OpenExportLogView.h"
#include "SelectedDeviceDetailsView.h"
#include "SendLaterView.h"
#include "SendMsgInfoView.h"
#include "SendingJobView.h"
#include "SentItemsView.h"
#include "SimPinView.h"
#include "StatusExportOptionView.h"
#include "TemplatesView.h"
#include "UpdateExNumView.h"
#include "UpdateNumSmsView.h"
#include "UpdateSelNumSmsView.h"
#include "UpdateTempView.h"
#include "android/windows/And_Conn_Err.h"
#include "android/windows/OneByOneCopyFailure.h"
#include "android/windows/SingleShotCopyFailure.h"
#include "core/DialogController.h"

#include <QByteArray>
#include <QHash>

namespace ViewRegistry {
namespace {
struct Entry {
    Factory factory;
    QString memoryKey;
};

QHash<QByteArray, Entry>& entries() {
    static QHash<QByteArray, Entry> table;
    return table;
}

template <typename View, typename Controller> void addView(const QString& memoryKey = QString()) {
    add(
        Controller::staticMetaObject.className(),
        [](DialogController& dialog, QWidget* parent) -> QDialog* {
            return new View(static_cast<Controller&>(dialog), parent);
        },
        memoryKey);
}

const Entry* entryFor(const DialogController& dialog) {
    const auto it = entries().constFind(QByteArray(dialog.metaObject()->className()));
    return it == entries().constEnd() ? nullptr : &*it;
}
} // namespace

void add(const char* className, Factory factory, const QString& memoryKey) {
    entries().insert(QByteArray(className), Entry{std::move(factory), memoryKey});
}

QDialog* createView(DialogController& dialog, QWidget* parent) {
    const Entry* entry = entryFor(dialog);
    return entry == nullptr ? nullptr : entry->factory(dialog, parent);
}

QString memoryKey(const DialogController& dialog) {
    const Entry* entry = entryFor(dialog);
    return entry == nullptr ? QString() : entry->memoryKey;
}

void registerStandardViews() {
    addView<MobileSelView, Mobile_Sel_Wnd>();
    addView<GsmDevConnStepView, GSM_DEV_Conn_Step_Wnd>();
    addView<GsmDeviceListView, GSM_Device_List_Wnd>();
    addView<AutomatedGsmSendingView, Automated_GSM_Sending>();
    addView<AndroidTroubleShootingView, Android_TroubleShooting>();
    addView<SelectedDeviceDetailsView, Selected_Device_Details_GSM>();
    addView<ConnectionInfoView, Connection_Info>();
    addView<AndroidPhListView, Android_Ph_List_Wnd>();
    addView<AndConnErrView, And_Conn_Err>();
    addView<SingleShotCopyFailureView, SingleShotCopyFailure>();
    addView<OneByOneCopyFailureView, OneByOneCopyFailure>();
    addView<FillMsgInListView, Fill_Msg_In_List>();
    addView<SendMsgInfoView, Send_Msg_Info>();
    addView<SendLaterView, SendLater>();
    addView<SendingJobView, SMS_Sending>(QStringLiteral("sendingJobWindow"));
    addView<UpdateNumSmsView, Update_Num_SMS>();
    addView<UpdateSelNumSmsView, Update_Sel_Num_SMS>();
    addView<LoadNumInfoView, Load_Num_Info>();
    addView<ManuallyAddNumView, Manually_Add_Num>();
    addView<SimPinView, SimPinDialog>();
    addView<ImportExcelView, Import_Excel>();
    addView<ExcelDynamicMsgView, Excel_Dynamic_Msg>();
    addView<ExcelSmsExampleView, Excel_SMS_Example>();
    addView<SentItemsView, Sent_Items>(QStringLiteral("sentItemsWindow"));
    addView<TemplatesView, Templates>(QStringLiteral("templatesWindow"));
    addView<UpdateTempView, UpdateTemp>();
    addView<ExclusionWizardView, Exclusion_Wizard>();
    addView<UpdateExNumView, Update_Ex_Num>();
    addView<StatusExportOptionView, Status_Export_Option>();
    addView<ExportOptionView, Export_Option>();
    addView<OpenExportLogView, Open_Export_Log>();
    addView<CampaignsView, CampaignsWindow>(QStringLiteral("campaignsWindow"));
    addView<CampaignPageView, CampaignPage>();
    addView<InboxView, InboxWindow>(QStringLiteral("inboxWindow"));
    addView<InboxOptionsView, InboxOptions>();
}

} // namespace ViewRegistry
