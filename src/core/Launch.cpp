#include "Launch.h"

#include "AppState.h"
#include "DataFolder.h"
#include "DataTreePrivacy.h"
#include "FileUtils.h"
#include "MainWindowController.h"
#include "Mobile_Sel_Wnd.h"
#include "Operator.h"

bool Launch_Application(Operator& op, const DataFolder& folder, MainWindowController& androidWindow,
                        MainWindowController& gsmWindow) {
    Main_App_wnd = &androidWindow;
    GSM_App_wnd = &gsmWindow;

    folder.adoptForProcess();
    androidWindow.windowDidLoad();
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
    gsmWindow.windowDidLoad();

    text_change_notifications_on = true;
    gsmWindow.bringToFront();
    androidWindow.hide();
    gsm_and_none = 1;
    return true;
}

int Show_Device_Kind_Selection(Operator& op, MainWindowController& gsmWindow,
                               MainWindowController& androidWindow) {
    Mobile_Sel_Wnd dialog(gsmWindow, androidWindow);
    return op.runModal(dialog);
}
