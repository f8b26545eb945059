#include "UiHelpers.h"

#include <QGroupBox>
#include <QLabel>
#include <QPalette>

void SetObjEnabled(QWidget* control, bool enabled) {
    if (control == nullptr)
        return;
    if (auto* group = qobject_cast<QGroupBox*>(control)) {
        for (QWidget* child : group->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly))
            if (!qobject_cast<QGroupBox*>(child))
                SetObjEnabled(child, enabled);
        return;
    }
    control->setEnabled(enabled);
    if (auto* label = qobject_cast<QLabel*>(control)) {
        QPalette palette = label->palette();
        const QPalette::ColorGroup group = enabled ? QPalette::Active : QPalette::Disabled;
        palette.setColor(QPalette::WindowText, palette.color(group, QPalette::WindowText));
        label->setPalette(palette);
    }
}

QString hyperlinkText(const QString& text, const QString& url) {
    return QStringLiteral("<a href=\"%1\" style=\"color:blue; text-decoration:underline;\">%2</a>")
        .arg(url.toHtmlEscaped(), text.toHtmlEscaped());
}
