#pragma once
// Small visual helpers shared by the windows.
#include <QString>

class QWidget;

// Enables or disables a control. A label also takes the normal or disabled text colour;
// a group box is left as it is and the controls directly inside it are switched instead.
void SetObjEnabled(QWidget* control, bool enabled);

// Rich text that shows text as a blue, single-underlined link to url.
QString hyperlinkText(const QString& text, const QString& url);

// A modal dialog that steps aside while what it started runs (the device-kind chooser while the
// chosen window searches) hides itself, which ends its exec(): it sets kSteppedAside while it is
// away and counts each time it left in kTimesSteppedAside, so that its modal session goes on,
// windowless while it is away, until the dialog ends.
inline constexpr char kSteppedAside[] = "steppedAside";
inline constexpr char kTimesSteppedAside[] = "timesSteppedAside";
