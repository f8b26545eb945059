#pragma once
// A device's sending settings as both GSM device windows show them: the SMS mode radios and
// the service-centre fields, wired to a controller with the device windows' settings calls
// (PDU_Mode_Radio, Custom_SMSC_Pressed, update_custom_smsc, ...).
#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QString>

#include "sending/DeviceLimits.h"

#include <utility>

struct DeviceSettingsBoxes {
    QGroupBox* modeBox = nullptr;
    QGroupBox* smscBox = nullptr;
    QRadioButton* pdu = nullptr;
    QRadioButton* text = nullptr;
    QLineEdit* defaultSmsc = nullptr;
    QCheckBox* useCustomSmsc = nullptr;
    QLineEdit* customSmsc = nullptr;
    QGroupBox* limitsBox = nullptr;
    QSpinBox* perMinute = nullptr;
    QSpinBox* perHour = nullptr;
    QSpinBox* perDay = nullptr;

    // `no` is how the window writes "number" after "SMSC" ("no." or "No.").
    template <typename Controller>
    static DeviceSettingsBoxes build(QWidget* parent, QObject* context, Controller& controller,
                                     const QString& no) {
        DeviceSettingsBoxes b;
        b.modeBox = new QGroupBox(QStringLiteral("SMS Mode"), parent);
        auto* modeLayout = new QHBoxLayout(b.modeBox);
        b.pdu = new QRadioButton(QStringLiteral("PDU Mode"), b.modeBox);
        b.text = new QRadioButton(QStringLiteral("Text Mode"), b.modeBox);
        modeLayout->addWidget(b.pdu);
        modeLayout->addWidget(b.text);
        modeLayout->addStretch();

        b.smscBox = new QGroupBox(QStringLiteral("SMS Service Centre"), parent);
        auto* smscLayout = new QFormLayout(b.smscBox);
        b.defaultSmsc = new QLineEdit(b.smscBox);
        b.defaultSmsc->setReadOnly(true);
        b.useCustomSmsc = new QCheckBox(QStringLiteral("Custom SMSC %1").arg(no), b.smscBox);
        b.customSmsc = new QLineEdit(b.smscBox);
        smscLayout->addRow(QStringLiteral("Default SMSC %1:").arg(no), b.defaultSmsc);
        smscLayout->addRow(b.useCustomSmsc, b.customSmsc);

        // The SIM's own limits, over every run and sender: networks bar SIMs that send too fast.
        b.limitsBox = new QGroupBox(QStringLiteral("Limits of this SIM"), parent);
        auto* limitsLayout = new QHBoxLayout(b.limitsBox);
        limitsLayout->addWidget(new QLabel(QStringLiteral("At most"), b.limitsBox));
        const auto spin = [&b, limitsLayout](const char* name, const QString& unit) {
            auto* box = new QSpinBox(b.limitsBox);
            box->setObjectName(QLatin1String(name));
            box->setRange(0, 1000000);
            limitsLayout->addWidget(box);
            limitsLayout->addWidget(new QLabel(unit, b.limitsBox));
            return box;
        };
        b.perMinute = spin("limitPerMinute", QStringLiteral("messages a minute,"));
        b.perHour = spin("limitPerHour", QStringLiteral("an hour,"));
        b.perDay = spin("limitPerDay", QStringLiteral("a day"));
        limitsLayout->addWidget(new QLabel(QStringLiteral("(0: no limit)"), b.limitsBox));
        limitsLayout->addStretch();
        for (QSpinBox* box : {b.perMinute, b.perHour, b.perDay})
            QObject::connect(box, &QSpinBox::valueChanged, context,
                             [&controller, m = b.perMinute, h = b.perHour, d = b.perDay] {
                                 DeviceLimits limits = controller.shownLimits();
                                 limits.perMinute = m->value();
                                 limits.perHour = h->value();
                                 limits.perDay = d->value();
                                 controller.setLimits(limits);
                             });

        QObject::connect(b.pdu, &QRadioButton::clicked, context,
                         [&controller] { controller.PDU_Mode_Radio(); });
        QObject::connect(b.text, &QRadioButton::clicked, context,
                         [&controller] { controller.Text_Mode_Radio(); });
        QObject::connect(b.useCustomSmsc, &QCheckBox::clicked, context,
                         [&controller](bool on) { controller.Custom_SMSC_Pressed(on); });
        QObject::connect(b.customSmsc, &QLineEdit::textEdited, context,
                         [&controller](const QString& t) { controller.setCustomSmscText(t); });
        // A typed custom number is checked once, when the field is left.
        QObject::connect(b.customSmsc, &QLineEdit::editingFinished, context,
                         [&controller, box = b.useCustomSmsc, field = b.customSmsc] {
                             if (box->isChecked() && field->isModified()) {
                                 field->setModified(false);
                                 controller.update_custom_smsc();
                             }
                         });
        return b;
    }

    template <typename Controller> void refresh(const Controller& controller) const {
        pdu->setChecked(controller.PDU_TEXT_MODE_SEL() == 1);
        text->setChecked(controller.PDU_TEXT_MODE_SEL() == 2);
        defaultSmsc->setText(controller.defaultSmscField());
        const bool custom = controller.customSmscChecked();
        useCustomSmsc->setChecked(custom);
        customSmsc->setEnabled(custom);
        defaultSmsc->setEnabled(!custom);
        if (!customSmsc->hasFocus())
            customSmsc->setText(controller.customSmscText());
        const DeviceLimits limits = controller.shownLimits();
        for (auto [box, value] : {std::pair{perMinute, limits.perMinute}, std::pair{perHour, limits.perHour},
                                  std::pair{perDay, limits.perDay}}) {
            const QSignalBlocker block(box);
            box->setValue(value);
        }
    }
};
