#pragma once
// Small visual helpers shared by the windows.
#include <QString>

class QWidget;

// Enables or disables a control. A label also takes the normal or disabled text colour;
// a group box is left as it is and the controls directly inside it are switched instead.
void SetObjEnabled(QWidget* control, bool enabled);

// Rich text that shows text as a blue, single-underlined link to url.
QString hyperlinkText(const QString& text, const QString& url);
