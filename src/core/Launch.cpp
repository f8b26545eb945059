#include "Launch.h"

#include "DataFolder.h"
#include "DataTreePrivacy.h"
#include "FileUtils.h"
#include "MainWindows.h"
#include "Operator.h"
#include "core/windows/Mobile_Sel_Wnd.h"

namespace {

// Lays out the data folder; false, once the operator was told, when it cannot be made.
bool layOutDataFolder(Operator& op, const DataFolder& folder) {
    if (!Create_Folder(folder.Resource_Path())) {
        op.Show_MessageBox(QStringLiteral("Can not access Bulk sms Data file."));
        op.quitApplication();
        return false;
    }
    Create_Folder(folder.Created_Resource_Path());
    // Earlier versions left the data open to everyone; links planted in it are named.
    if (const QStringList problems = makeDataTreePrivate(folder); !problems.isEmpty())
        op.Show_MessageBox(errorInFileAccessing(problems.join(QLatin1Char('\n'))));
    folder.Check_Path_And_Create_Files();
    return true;
}

} // namespace

bool Launch_Application(Operator& op, const DataFolder& folder, MainWindows& windows) {
    MainWindowController& androidWindow = windows.android();
    MainWindowController& gsmWindow = windows.gsm();
    folder.adoptForProcess();
    androidWindow.windowDidLoad();
    if (!layOutDataFolder(op, folder))
        return false;
    gsmWindow.windowDidLoad();

    androidWindow.setTextChangeNotifications(true);
    gsmWindow.setTextChangeNotifications(true);
    gsmWindow.bringToFront();
    androidWindow.hide();
    windows.setFront(MainWindowController::Kind::Gsm);
    return true;
}

bool Launch_Without_Windows(Operator& op, const DataFolder& folder) {
    folder.adoptForProcess();
    return layOutDataFolder(op, folder);
}

int Show_Device_Kind_Selection(Operator& op, MainWindows& windows) {
    Mobile_Sel_Wnd dialog(windows);
    return op.runModal(dialog);
}
