#include "AndroidPhListView.h"

#include "RecordTableModel.h"
#include "android/windows/And_Conn_Err.h"
#include "core/AppState.h"
#include "device/DeviceRecord.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

namespace {

QString markSymbol(QChar mark) {
    switch (mark.unicode()) {
    case 'T': return QStringLiteral("\u2714 "); // done
    case 'C': return QStringLiteral("\u2716 "); // failed
    case 'P': return QStringLiteral("\u26a0 "); // permission
    default: return QStringLiteral("\u25b6 ");  // in progress
    }
}

} // namespace

AndroidPhListView::AndroidPhListView(Android_Ph_List_Wnd& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setObjectName(QStringLiteral("Android_Ph_List_Wnd"));
    setWindowTitle(kApplicationName + QStringLiteral(" - Android Phone"));
    auto* layout = new QVBoxLayout(this);
    m_info = new QLabel(this);
    layout->addWidget(m_info);
    for (QLabel*& line : m_lines) {
        line = new QLabel(this);
        layout->addWidget(line);
    }
    m_hint = new QLabel(QStringLiteral("Unlock the phone and allow USB debugging when it asks."), this);
    layout->addWidget(m_hint);
    auto* model = new RecordTableModel(controller.rows(), this);
    model->setColumnTitle(kPortNameKey, QStringLiteral("Property"));
    model->setColumnTitle(kPortDetailKey, QStringLiteral("Value"));
    m_table = new QTableView(this);
    m_table->setModel(model);
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->setStretchLastSection(true);
    m_table->setColumnWidth(0, 170);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    layout->addWidget(m_table, 1);
    m_phones = new QListWidget(this);
    m_phones->setObjectName(QStringLiteral("_phones"));
    layout->addWidget(m_phones, 1);
    connect(m_phones, &QListWidget::itemChanged, this, [this](QListWidgetItem* item) {
        m_controller.tickPhone(m_phones->row(item), item->checkState() == Qt::Checked);
    });
    m_busy = new QProgressBar(this);
    m_busy->setRange(0, 100);
    m_busy->setTextVisible(false);
    layout->addWidget(m_busy);
    m_wait = new QLabel(QStringLiteral("Please wait..."), this);
    layout->addWidget(m_wait);

    // A test message in each sending mode, to see on the receiving phone which paths work.
    m_testRow = new QWidget(this);
    auto* testLayout = new QHBoxLayout(m_testRow);
    testLayout->setContentsMargins(0, 0, 0, 0);
    m_testNumber = new QLineEdit(m_testRow);
    m_testNumber->setPlaceholderText(QStringLiteral("+447700900001"));
    m_sendTest = new QPushButton(QStringLiteral("Send Test"), m_testRow);
    testLayout->addWidget(new QLabel(QStringLiteral("Test number:"), m_testRow));
    testLayout->addWidget(m_testNumber, 1);
    testLayout->addWidget(m_sendTest);
    layout->addWidget(m_testRow);
    connect(m_testNumber, &QLineEdit::textEdited, this,
            [this](const QString& t) { m_controller.setTestNumberText(t); });
    connect(m_sendTest, &QPushButton::clicked, this, [this] { m_controller.Send_Test_Btn(); });

    auto* buttons = new QHBoxLayout();
    auto* back = new QPushButton(QStringLiteral("Mobile Type"), this);
    auto* status = new QPushButton(QStringLiteral("Device Status"), this);
    m_search = new QPushButton(QStringLiteral("Search"), this);
    m_stop = new QPushButton(QStringLiteral("Stop"), this);
    m_select = new QPushButton(QStringLiteral("Select"), this);
    m_select->setDefault(true);
    buttons->addWidget(back);
    buttons->addWidget(status);
    buttons->addStretch();
    buttons->addWidget(m_search);
    buttons->addWidget(m_stop);
    buttons->addWidget(m_select);
    layout->addLayout(buttons);
    resize(560, 460);

    connect(back, &QPushButton::clicked, this, [this] { m_controller.Mobile_Type_Btn(); });
    connect(status, &QPushButton::clicked, this, [this] { m_controller.Check_Device_Status_Btn(); });
    connect(m_search, &QPushButton::clicked, this, [this] { m_controller.Search_Btn(); });
    connect(m_stop, &QPushButton::clicked, this, [this] { m_controller.Stop_Btn(); });
    connect(m_select, &QPushButton::clicked, this, [this] { m_controller.Select_Btn(); });
    connect(&controller, &DialogController::changed, this, &AndroidPhListView::refresh);
    refresh();
}

void AndroidPhListView::reject() { m_controller.Close_Btn(); }

void AndroidPhListView::refresh() {
    m_info->setText(m_controller.infoLabel());
    for (size_t i = 0; i < m_lines.size(); ++i) {
        const auto& line = m_controller.statusLines().at(i);
        m_lines.at(i)->setText(markSymbol(line.mark) + line.text);
        m_lines.at(i)->setVisible(m_controller.statusLinesVisible());
    }
    m_hint->setVisible(m_controller.permissionHintVisible() && m_controller.statusLinesVisible());
    m_table->setVisible(m_controller.tableVisible());
    showAttachedPhones();
    m_busy->setValue(m_controller.busyValue());
    m_wait->setVisible(m_controller.pleaseWaitShown());
    const bool searching = m_controller.searching();
    m_search->setEnabled(!searching && m_controller.controlsEnabled());
    m_select->setEnabled(!searching && m_controller.controlsEnabled());
    m_stop->setEnabled(searching);
    m_testRow->setVisible(m_controller.tableVisible());
    m_sendTest->setEnabled(!searching && !m_controller.testing());
    if (!m_testNumber->hasFocus())
        m_testNumber->setText(m_controller.testNumberText());
}

void AndroidPhListView::showAttachedPhones() {
    const auto& phones = m_controller.attachedPhones();
    const QSignalBlocker quiet(m_phones); // the controller already knows what it listed
    if (m_phones->count() != phones.size()) {
        m_phones->clear();
        for (const auto& phone : phones) {
            auto* item = new QListWidgetItem(m_phones);
            item->setText(phone.state == QLatin1String("device")
                              ? phone.caption
                              : QStringLiteral("%1 (%2)").arg(phone.caption, phone.state));
            item->setFlags(phone.state == QLatin1String("device")
                               ? Qt::ItemIsEnabled | Qt::ItemIsUserCheckable
                               : Qt::NoItemFlags);
        }
    }
    for (int i = 0; i < phones.size(); ++i)
        m_phones->item(i)->setCheckState(phones.at(i).ticked ? Qt::Checked : Qt::Unchecked);
    m_phones->setVisible(!phones.isEmpty() && !m_controller.tableVisible());
}

AndConnErrView::AndConnErrView(And_Conn_Err& controller, QWidget* parent) : QDialog(parent) {
    setWindowTitle(controller.title());
    auto* layout = new QVBoxLayout(this);
    auto* title = new QLabel(QStringLiteral("<b>%1</b>").arg(controller.title().toHtmlEscaped()), this);
    auto* picture = new QLabel(this);
    picture->setText(controller.mark() == QLatin1Char('P') ? QStringLiteral("\U0001F4F1 \u2714 Allow")
                                                           : QStringLiteral("\U0001F50C \u2716"));
    auto* text = new QLabel(controller.text(), this);
    text->setWordWrap(true);
    text->setTextFormat(Qt::PlainText);
    auto* ok = new QPushButton(QStringLiteral("OK"), this);
    layout->addWidget(title);
    layout->addWidget(picture);
    layout->addWidget(text);
    layout->addWidget(ok, 0, Qt::AlignRight);
    resize(460, 260);
    connect(ok, &QPushButton::clicked, this, [&controller] { controller.OK_Btn(); });
}
