#include "RecordTableModel.h"

#include "core/RecordTable.h"

RecordTableModel::RecordTableModel(const RecordTable& table, QObject* parent)
    : QAbstractTableModel(parent), m_table(table) {
    connect(&table, &RecordTable::aboutToInsert, this,
            [this](int first, int last) { beginInsertRows({}, first, last); });
    connect(&table, &RecordTable::inserted, this, [this] { endInsertRows(); });
    connect(&table, &RecordTable::aboutToReset, this, [this] { beginResetModel(); });
    connect(&table, &RecordTable::wasReset, this, [this] { endResetModel(); });
    connect(&table, &RecordTable::rowChanged, this,
            [this](int row) { emit dataChanged(index(row, 0), index(row, columnCount() - 1)); });
}

void RecordTableModel::setColumnTitle(const QString& key, const QString& title) {
    m_titles.insert(key, title);
}

int RecordTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_table.size();
}

int RecordTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_table.columns().size());
}

QVariant RecordTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= m_table.size() || index.column() >= columnCount())
        return {};
    const QString key = m_table.columns().at(index.column());
    const auto text = m_texts.constFind(key);
    const QString value =
        text != m_texts.cend() ? (*text)(m_table.at(index.row())) : m_table.at(index.row()).value(key);
    if (key == m_checkKey) {
        if (role == Qt::CheckStateRole)
            return value == QLatin1String("1") ? Qt::Checked : Qt::Unchecked;
        return {};
    }
    switch (role) {
    case Qt::DisplayRole: {
        // One line per row keeps 100,000 rows at a fixed height; the tooltip shows it whole.
        QString line = value;
        line.replace(QLatin1Char('\n'), QLatin1Char(' ')).replace(QLatin1Char('\r'), QLatin1Char(' '));
        return line;
    }
    case Qt::ToolTipRole: return value.isEmpty() ? QVariant() : QVariant(value);
    default: return {};
    }
}

void RecordTableModel::setColumnText(const QString& key, std::function<QString(const Record&)> text) {
    m_texts.insert(key, text);
}

void RecordTableModel::setCheckColumn(const QString& key, std::function<void(int, bool)> onToggle) {
    m_checkKey = key;
    m_onToggle = std::move(onToggle);
}

Qt::ItemFlags RecordTableModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags f = QAbstractTableModel::flags(index);
    if (index.isValid() && m_table.columns().value(index.column()) == m_checkKey)
        f |= Qt::ItemIsUserCheckable;
    return f;
}

bool RecordTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::CheckStateRole || !index.isValid() ||
        m_table.columns().value(index.column()) != m_checkKey || !m_onToggle)
        return false;
    m_onToggle(index.row(), value.toInt() == Qt::Checked);
    return true;
}

QVariant RecordTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role != Qt::DisplayRole)
        return {};
    if (orientation == Qt::Vertical)
        return section + 1;
    const QString key = m_table.columns().value(section);
    return m_titles.value(key, key);
}
