#include "Load_Num_Info.h"

QString Load_Num_Info::questionText() const {
    return QStringLiteral("The phone numbers-messages list already has numbers.\n\n"
                          "Yes: clear the list and load the new numbers.\n"
                          "No: keep the list; the new numbers go after it.\n"
                          "Cancel: do not load anything.");
}
