#pragma once
// A delivery report's status (TP-ST), as a person reads it: "Delivered", "Pending" (the
// network still tries) or "Not delivered (<reason>)". Modems hand the code over; the run
// records the words.
#include <QString>

QString deliveryStateOf(int status);
