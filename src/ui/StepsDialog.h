#pragma once
// A dialog that shows a heading and numbered steps, with Back, Cancel and Continue.
#include <QDialog>
#include <QStringList>

#include <functional>

class QVBoxLayout;

class StepsDialog : public QDialog {
    Q_OBJECT
public:
    struct Actions {
        std::function<void()> back;
        std::function<void()> cancel;
        std::function<void()> proceed;
    };

    StepsDialog(const QString& heading, const QStringList& steps, Actions actions, QWidget* parent);

protected:
    // Room under the steps for a view's own controls.
    QVBoxLayout* extraArea() const { return m_extraArea; }
    // Escape and the window's close button go back.
    void reject() override;

private:
    Actions m_actions;
    QVBoxLayout* m_extraArea = nullptr;
};
