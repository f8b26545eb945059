#pragma once
// The stored-list windows of the program: templates, sent items and exclusion lists. The
// program's start makes them once over its data folder and hands them to the views that open
// them; each keeps what it shows between openings.
#include "Exclusion_Wizard.h"
#include "Sent_Items.h"
#include "Templates.h"
#include "list/DefaultCountry.h"

class StoreWindows {
public:
    // country: the application's default country, which the exclusion lists compare numbers in.
    StoreWindows(Operator& op, const DataFolder& folder, DefaultCountry& country)
        : Template_Window(op, folder), SENT_WND(op, folder), Exclusion_wnd(op, folder, country) {}

    Templates& templates() { return Template_Window; }
    Sent_Items& sentItems() { return SENT_WND; }
    Exclusion_Wizard& exclusion() { return Exclusion_wnd; }

private:
    Templates Template_Window;
    Sent_Items SENT_WND;
    Exclusion_Wizard Exclusion_wnd;
};
