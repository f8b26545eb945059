#include "InboxView.h"

#include "core/AppState.h"

#include <QAbstractTableModel>
#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSplitter>
#include <QTableView>
#include <QTextBrowser>
#include <QVBoxLayout>

// The controller's numbers as rows; a number with unread replies in bold.
class ConversationTableModel : public QAbstractTableModel {
public:
    ConversationTableModel(const InboxWindow& window, QObject* parent)
        : QAbstractTableModel(parent), m_window(window), m_rows(int(window.conversations().size())) {}

    int rowCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : m_rows; }
    int columnCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : int(InboxWindow::columnTitles().size());
    }
    QVariant data(const QModelIndex& index, int role) const override {
        if (index.row() >= m_window.conversations().size())
            return {};
        const ConversationRow& row = m_window.conversations().at(index.row());
        switch (role) {
        case Qt::DisplayRole: return InboxWindow::rowTexts(row).value(index.column());
        case Qt::ToolTipRole: return index.column() == 1 ? QVariant(row.latestText) : QVariant();
        case Qt::TextAlignmentRole:
            return index.column() == 3 ? QVariant(int(Qt::AlignRight | Qt::AlignVCenter)) : QVariant();
        case Qt::FontRole:
            if (row.unread > 0) {
                QFont bold;
                bold.setBold(true);
                return bold;
            }
            return {};
        case Qt::ForegroundRole:
            return row.optedOut && index.column() == 4 ? QVariant(QColor(0xc6, 0x28, 0x28)) : QVariant();
        default: return {};
        }
    }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
        if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
            return InboxWindow::columnTitles().value(section);
        return {};
    }
    // The list was read again: same rows change in place, others reset the table.
    void reload() {
        const int rows = int(m_window.conversations().size());
        if (rows == m_rows) {
            if (rows > 0)
                emit dataChanged(index(0, 0), index(rows - 1, columnCount() - 1));
            return;
        }
        beginResetModel();
        m_rows = rows;
        endResetModel();
    }

private:
    const InboxWindow& m_window;
    int m_rows;
};

namespace {

// One message as a bubble: the campaigns' on the right, the recipient's on the left.
QString bubble(const ConversationEntry& e) {
    const bool ours = e.kind == ConversationEntry::Kind::Sent;
    QString text = e.text.toHtmlEscaped();
    text.replace(QLatin1Char('\n'), QStringLiteral("<br>"));
    if (text.isEmpty())
        text = QStringLiteral("<i>(empty)</i>");
    QString cell = QStringLiteral("<span style=\"color:#5f6368; font-size:small\">%1</span><br>%2")
                       .arg(InboxWindow::entryHeading(e).toHtmlEscaped(), text);
    if (const QString note = InboxWindow::entryNote(e); !note.isEmpty())
        cell += QStringLiteral("<br><i style=\"color:#b3261e; font-size:small\">%1</i>")
                    .arg(note.toHtmlEscaped());
    const QString body = QStringLiteral("<td bgcolor=\"%1\">%2</td>").arg(ours ? "#d7ecd9" : "#eceff1", cell);
    const QString gap = QStringLiteral("<td width=\"22%\"></td>");
    return QStringLiteral(
               "<table width=\"100%\" cellspacing=\"0\" cellpadding=\"7\" style=\"margin-bottom:8px\">"
               "<tr>%1</tr></table>")
        .arg(ours ? gap + body : body + gap);
}

} // namespace

InboxView::InboxView(InboxWindow& controller, QWidget* parent) : QDialog(parent), m_controller(controller) {
    setWindowTitle(QStringLiteral("Inbox - %1").arg(kApplicationName));
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(buildFilterRow());

    auto* splitter = new QSplitter(Qt::Horizontal, this);
    splitter->setObjectName(QStringLiteral("inboxSplitter"));
    splitter->setChildrenCollapsible(false);
    m_model = new ConversationTableModel(controller, this);
    m_table = new QTableView(splitter);
    m_table->setModel(m_model);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setWordWrap(false);
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_table->verticalHeader()->setDefaultSectionSize(m_table->fontMetrics().height() + 8);
    // Widths for bold text (unread rows): a number, a time, a count, the opt-out mark.
    QFont bold = m_table->font();
    bold.setBold(true);
    const QFontMetrics metrics(bold);
    m_table->setColumnWidth(0, metrics.horizontalAdvance(QStringLiteral("+447911123456")) + 16);
    m_table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    m_table->setColumnWidth(2, metrics.horizontalAdvance(QStringLiteral("2026-12-31 23:59:59")) + 14);
    m_table->setColumnWidth(3, metrics.horizontalAdvance(QStringLiteral("Unread")) + 16);
    m_table->setColumnWidth(4, metrics.horizontalAdvance(QStringLiteral("Opted out")) + 16);
    splitter->addWidget(m_table);
    splitter->addWidget(buildConversationSide());
    splitter->setStretchFactor(0, 5);
    splitter->setStretchFactor(1, 4);
    layout->addWidget(splitter, 1);
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        const QModelIndexList rows = m_table->selectionModel()->selectedRows();
        m_controller.setSelectedRow(rows.isEmpty() ? -1 : rows.first().row());
    });

    auto* statusRow = new QHBoxLayout();
    m_status = new QLabel(this);
    m_status->setObjectName(QStringLiteral("inboxStatus"));
    m_status->setWordWrap(true);
    m_status->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_more = new QPushButton(QStringLiteral("Show more"), this);
    m_more->setAutoDefault(false);
    statusRow->addWidget(m_status, 1);
    statusRow->addWidget(m_more);
    layout->addLayout(statusRow);

    auto* row = new QHBoxLayout();
    m_markUnread = new QPushButton(QStringLiteral("Mark unread"), this);
    m_optOut = new QPushButton(QStringLiteral("Opt out"), this);
    m_optOut->setObjectName(QStringLiteral("optOutButton"));
    auto* exportButton = new QPushButton(QStringLiteral("Export..."), this);
    auto* options = new QPushButton(QStringLiteral("Options..."), this);
    auto* close = new QPushButton(QStringLiteral("Close"), this);
    // Its width fits either of its titles: the row does not move when it changes.
    m_optOut->setMinimumWidth(m_optOut->fontMetrics().horizontalAdvance(QStringLiteral("Take back")) + 32);
    for (QPushButton* b : {m_markUnread, m_optOut, exportButton, options})
        row->addWidget(b);
    row->addStretch();
    row->addWidget(close);
    for (QPushButton* b : {m_markUnread, m_optOut, exportButton, options, close})
        b->setAutoDefault(false);
    layout->addLayout(row);

    InboxWindow& c = m_controller;
    connect(m_more, &QPushButton::clicked, this, [&c] { c.Show_More_Btn(); });
    connect(m_markUnread, &QPushButton::clicked, this, [&c] { c.Mark_Unread_Btn(); });
    connect(m_optOut, &QPushButton::clicked, this, [&c] { c.Opt_Out_Btn(); });
    connect(exportButton, &QPushButton::clicked, this, [&c] { c.Export_Btn(); });
    connect(options, &QPushButton::clicked, this, [&c] { c.Options_Btn(); });
    connect(close, &QPushButton::clicked, this, [&c] { c.Close_Btn(); });
    resize(1120, 620);

    connect(&controller, &DialogController::changed, this, &InboxView::refresh);
    refresh();
}

QLayout* InboxView::buildFilterRow() {
    auto* row = new QHBoxLayout();
    m_campaign = new QComboBox(this);
    m_campaign->setObjectName(QStringLiteral("campaignFilter"));
    m_campaign->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_campaign->setMinimumContentsLength(18);
    m_unreadOnly = new QCheckBox(QStringLiteral("Unread only"), this);
    m_optedOutOnly = new QCheckBox(QStringLiteral("Opted out only"), this);
    m_sinceOn = new QCheckBox(QStringLiteral("Since"), this);
    m_since = new QDateEdit(QDate::currentDate().addDays(-7), this);
    m_since->setObjectName(QStringLiteral("sinceDate"));
    m_since->setCalendarPopup(true);
    m_since->setDisplayFormat(QStringLiteral("yyyy-MM-dd"));
    m_since->setEnabled(false);
    m_since->setMinimumWidth(m_since->fontMetrics().horizontalAdvance(QStringLiteral("2026-12-31")) + 48);
    m_search = new QLineEdit(this);
    m_search->setObjectName(QStringLiteral("inboxSearch"));
    m_search->setPlaceholderText(QStringLiteral("Search numbers and messages"));
    m_search->setClearButtonEnabled(true);
    row->addWidget(new QLabel(QStringLiteral("Campaign:"), this));
    row->addWidget(m_campaign);
    row->addSpacing(8);
    row->addWidget(m_unreadOnly);
    row->addWidget(m_optedOutOnly);
    row->addSpacing(8);
    row->addWidget(m_sinceOn);
    row->addWidget(m_since);
    row->addSpacing(8);
    row->addWidget(m_search, 1);

    InboxWindow& c = m_controller;
    connect(m_campaign, &QComboBox::activated, this, [&c](int index) { c.setCampaignChoice(index); });
    connect(m_unreadOnly, &QCheckBox::toggled, this, [&c](bool on) { c.setUnreadOnly(on); });
    connect(m_optedOutOnly, &QCheckBox::toggled, this, [&c](bool on) { c.setOptedOutOnly(on); });
    connect(m_sinceOn, &QCheckBox::toggled, this, &InboxView::sinceChanged);
    connect(m_since, &QDateEdit::dateChanged, this, &InboxView::sinceChanged);
    connect(m_search, &QLineEdit::textChanged, this, [&c](const QString& text) { c.setSearch(text); });
    return row;
}

QWidget* InboxView::buildConversationSide() {
    auto* side = new QWidget(this);
    auto* layout = new QVBoxLayout(side);
    layout->setContentsMargins(0, 0, 0, 0);
    m_title = new QLabel(side);
    m_title->setObjectName(QStringLiteral("conversationTitle"));
    m_title->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QFont bold = m_title->font();
    bold.setBold(true);
    m_title->setFont(bold);
    m_chat = new QTextBrowser(side);
    m_chat->setObjectName(QStringLiteral("conversation"));
    m_chat->setOpenLinks(false); // a message is text, never a link to follow
    m_chat->setMinimumWidth(300);
    layout->addWidget(m_title);
    layout->addWidget(m_chat, 1);
    return side;
}

void InboxView::sinceChanged() {
    m_since->setEnabled(m_sinceOn->isChecked());
    m_controller.setSince(m_sinceOn->isChecked() ? QDateTime(m_since->date(), QTime(0, 0)).toMSecsSinceEpoch()
                                                 : 0);
}

void InboxView::refresh() {
    const InboxWindow& c = m_controller;
    {
        const QSignalBlocker b1(m_campaign), b2(m_unreadOnly), b3(m_optedOutOnly);
        const QStringList choices = c.campaignChoices();
        QStringList shown;
        for (int i = 0; i < m_campaign->count(); ++i)
            shown << m_campaign->itemText(i);
        if (shown != choices) {
            m_campaign->clear();
            m_campaign->addItems(choices);
        }
        m_campaign->setCurrentIndex(c.campaignChoice());
        m_unreadOnly->setChecked(c.filter().unreadOnly);
        m_optedOutOnly->setChecked(c.filter().optedOutOnly);
    }
    {
        // The selection follows its number to wherever the new read put it.
        const QSignalBlocker block(m_table->selectionModel());
        m_model->reload();
        const int row = c.selectedRow();
        if (row < 0)
            m_table->clearSelection();
        else
            m_table->selectionModel()->select(m_model->index(row, 0), QItemSelectionModel::ClearAndSelect |
                                                                          QItemSelectionModel::Rows);
    }
    m_table->viewport()->update();
    showConversation();
    m_status->setText(c.statusText());
    m_status->setStyleSheet(c.storeRefused() ? QStringLiteral("color: #b3261e") : QString());
    m_more->setVisible(c.moreToShow());
    m_markUnread->setEnabled(c.markUnreadEnabled());
    m_optOut->setEnabled(c.optOutEnabled());
    m_optOut->setText(c.optOutTitle());
}

void InboxView::showConversation() {
    const InboxWindow& c = m_controller;
    m_title->setText(c.selectedNumber().isEmpty()
                         ? QStringLiteral("Choose a number to read its conversation.")
                         : c.conversationTitle());
    QString html;
    for (const ConversationEntry& e : c.conversation())
        html += bubble(e);
    if (html == m_shownHtml && c.selectedNumber() == m_shownNumber)
        return;
    // Read again every two seconds: the place stays, or follows the end when it was there.
    QScrollBar* bar = m_chat->verticalScrollBar();
    const bool sameNumber = c.selectedNumber() == m_shownNumber;
    const bool atEnd = bar->value() >= bar->maximum() - 4;
    const int place = bar->value();
    m_chat->setHtml(html);
    bar->setValue(sameNumber && !atEnd ? place : bar->maximum());
    m_shownHtml = html;
    m_shownNumber = c.selectedNumber();
}
