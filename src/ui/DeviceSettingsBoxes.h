#pragma once
// A device's sending settings as both GSM device windows show them: the SMS mode radios and
// the service-centre fields, wired to a controller with the device windows' settings calls
// (PDU_Mode_Radio, Custom_SMSC_Pressed, update_custom_smsc, ...).
#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QRadioButton>
#include <QString>

struct DeviceSettingsBoxes {
    QGroupBox* modeBox = nullptr;
    QGroupBox* smscBox = nullptr;
    QRadioButton* pdu = nullptr;
    QRadioButton* text = nullptr;
    QLineEdit* defaultSmsc = nullptr;
    QCheckBox* useCustomSmsc = nullptr;
    QLineEdit* customSmsc = nullptr;

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
    }
};
