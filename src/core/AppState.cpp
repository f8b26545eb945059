#include "AppState.h"

MainWindowController* Main_App_wnd = nullptr;
MainWindowController* GSM_App_wnd = nullptr;
std::atomic<int> gsm_and_none{1};

QString sel_port_name_str;
QString sel_port_bsd_str;
QStringList port_val_str_array;
RecordList port_det_str_array;

std::atomic<bool> text_change_notifications_on{false};

void clearDeviceSelection() {
    sel_port_name_str.clear();
    sel_port_bsd_str.clear();
    port_val_str_array.clear();
    port_det_str_array.clear();
}
