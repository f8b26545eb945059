#pragma once
// The keys of a test case record: one row of a sending-mode test, the GSM device windows'
// (a combination of mode and service centre) or the Android troubleshooting's (a sending
// mode of the phone). The keys are the system's own texts.
#include <QString>

inline const QString kModemCaseLabelKey = QStringLiteral("Possible_Case"); // "Case 1:" in the GSM windows
inline const QString kPhoneCaseLabelKey = QStringLiteral("Case");          // "Case 1:" on the Android side
inline const QString kCaseDescriptionKey = QStringLiteral("Description");
inline const QString kCaseStatusKey = QStringLiteral("Status");    // "" until the case has run
inline const QString kCaseMessageKey = QStringLiteral("Case_SMS"); // the text the case sends
inline const QString kCaseCodeKey = QStringLiteral("Case_Name");   // "PDU_CUS_SMSC", "SS", ...
