#include "BulkSmsWindow.h"

#include "Update_Num_SMS.h"
#include "core/Counted.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/Log.h"
#include "core/MainWindows.h"
#include "core/Operator.h"
#include "core/SettingsFile.h"
#include "core/TextUtils.h"
#include "list/DefaultCountry.h"
#include "list/ListLoad.h"
#include "list/ListNumbers.h"
#include "text/NumberRules.h"

#include <algorithm>
#include <utility>

namespace {
const QString kInvalidNumber = QStringLiteral("Please enter a valid phone number.");
const QString kListEmpty = QStringLiteral("Phone numbers-Messages list is empty.");
const QString kSelectRecord =
    QStringLiteral("Please select at least one record from the phone numbers-messages list to continue.");
} // namespace

BulkSmsWindow::BulkSmsWindow(Kind kind, Operator& op, DataFolder folder, DefaultCountry* country,
                             SpreadsheetLoads* spreadsheets, QObject* parent)
    : MainWindowController(kind, op, parent), m_folder(std::move(folder)),
      m_ownCountry(country ? nullptr : std::make_unique<DefaultCountry>()),
      m_country(country ? *country : *m_ownCountry), m_spreadsheetLoads(spreadsheets),
      m_list({kNumberKey, kMessageKey, kLastRunKey}), m_exclusionSet({kNumberKey}) {
    connect(&m_list, &RecordTable::inserted, this, &BulkSmsWindow::Update_List_Count);
    connect(&m_list, &RecordTable::wasReset, this, &BulkSmsWindow::Update_List_Count);
    // Selected rows follow their records when rows are inserted above them (the numbers the
    // window takes go at the end, which moves none); a reset drops them.
    connect(&m_list, &RecordTable::aboutToInsert, this, [this](int first, int last) {
        for (auto row = std::lower_bound(m_selectedRows.begin(), m_selectedRows.end(), first);
             row != m_selectedRows.end(); ++row)
            *row += last - first + 1;
    });
    connect(&m_list, &RecordTable::aboutToReset, this, [this] { m_selectedRows.clear(); });
    connect(&m_country, &DefaultCountry::changed, this, &BulkSmsWindow::rekeyNumbers);
}

BulkSmsWindow::~BulkSmsWindow() { delete findChild<ListLoad*>(QString(), Qt::FindDirectChildrenOnly); }

void BulkSmsWindow::windowDidLoad() {
    m_country.load(m_folder);
    m_messageTypeIndex = 1;
    m_fillButtonTitle = QStringLiteral("Apply this\r\nmessage to\r\nlist items");
    m_delayedDeliveryEnabled = true;
    restoreOptions();
    emit changed();
}

void BulkSmsWindow::restoreOptions() {
    const QJsonObject kept = SettingsFile(m_folder).read().value(optionsScope()).toObject();
    m_unicode = kept.value(QStringLiteral("unicode")).toBool();
    m_plainPunctuation = kept.value(QStringLiteral("plainPunctuation")).toBool();
    m_skipDuplicates = kept.value(QStringLiteral("skipDuplicates")).toBool();
    m_exclusion = kept.value(QStringLiteral("exclusion")).toBool(); // its lists are read before a run
    m_saveSentItems = kept.value(QStringLiteral("saveSentItems")).toBool();
    m_saveTemplates = kept.value(QStringLiteral("saveTemplates")).toBool();
    // A schedule comes back only whole, and only with choices the window offers.
    const QString count = kept.value(QStringLiteral("pauseAfter")).toString();
    const QString length = kept.value(QStringLiteral("pauseFor")).toString();
    if (kept.value(QStringLiteral("pauses")).toBool() && delayedCountEntries().contains(count) &&
        delayedTimeEntries().contains(length)) {
        m_delayedDelivery = true;
        m_delayedChoicesEnabled = true;
        m_delayedCountChoice = count;
        m_delayedTimeChoice = length;
    }
    restoreQuietHours(kept);
}

void BulkSmsWindow::keepOptions() {
    QJsonObject options{{QStringLiteral("unicode"), m_unicode},
                        {QStringLiteral("plainPunctuation"), m_plainPunctuation},
                        {QStringLiteral("skipDuplicates"), m_skipDuplicates},
                        {QStringLiteral("exclusion"), m_exclusion},
                        {QStringLiteral("saveSentItems"), m_saveSentItems},
                        {QStringLiteral("saveTemplates"), m_saveTemplates},
                        {QStringLiteral("pauses"), m_delayedDelivery},
                        {QStringLiteral("pauseAfter"), m_delayedCountChoice},
                        {QStringLiteral("pauseFor"), m_delayedTimeChoice}};
    keepQuietHours(options);
    QString why;
    if (!SettingsFile(m_folder).write(optionsScope(), options, &why))
        op().Show_MessageBox(
            QStringLiteral("The options could not be kept for the next start.\n\n%1").arg(why));
}

BulkSmsWindow* activeBulkSmsWindow(const MainWindows* windows) {
    return windows == nullptr ? nullptr : qobject_cast<BulkSmsWindow*>(&windows->front());
}

// ---- number field and list ----

void BulkSmsWindow::setNumberField(const QString& text) {
    QString cut = text;
    if (textChangeNotificationsOn() && cut.size() > kMaxNumberLength)
        cut = cut.left(kMaxNumberLength);
    if (cut == m_numberField)
        return;
    m_numberField = cut;
    emit changed();
}

QString BulkSmsWindow::countLabel() const { return QStringLiteral("Total Numbers : %1").arg(m_list.size()); }

void BulkSmsWindow::Update_List_Count() { emit changed(); }

bool BulkSmsWindow::Check_Ph_Number(const QString& number, bool test_flag) const {
    return ::Check_Ph_Number(number, test_flag);
}

QString BulkSmsWindow::Num_Able_To_insert(const QString& raw, LoadCounters& counts) {
    const std::optional<Accepted> number = filterNumber(raw, false, counts);
    return number ? number->written : QString();
}

void BulkSmsWindow::insertIfAble(const QString& raw, const QString& message, LoadCounters& counts) {
    if (const std::optional<Accepted> number = filterNumber(raw, true, counts))
        insertAccepted(*number, message);
}

std::optional<BulkSmsWindow::Accepted> BulkSmsWindow::filterNumber(const QString& raw, bool claim,
                                                                   LoadCounters& counts) {
    const std::optional<AcceptedNumber> n = acceptNumber(raw, m_country.normaliser(), counts);
    if (!n)
        return std::nullopt;
    const QString& key = n->e164.isEmpty() ? n->written : n->e164;
    // Inserting right after, into an open batch: the number is entered in the batch's index
    // by the same lookup that finds it is new.
    const bool claiming = claim && m_skipDuplicates && m_batchDepth > 0;
    if (m_skipDuplicates &&
        (claiming ? (!m_replacing && m_list.containsNumber(key)) || !m_pendingNumbers.claim(key)
                  : holdsNumber(key))) {
        ++counts.SKPD;
        return std::nullopt;
    }
    if (m_exclusion && m_exclusionSet.containsNumber(key)) {
        if (claiming)
            m_pendingNumbers.remove(key);
        ++counts.EXLD;
        return std::nullopt;
    }
    return Accepted{n->written, n->e164, claiming};
}

QString BulkSmsWindow::validTypedNumber(const QString& raw) const {
    const QString s = ::validTypedNumber(raw);
    if (s.isEmpty())
        return QString();
    const NormalisedNumber n = m_country.normaliser().normalise(s);
    return n.valid() ? n.written : QString();
}

QString BulkSmsWindow::e164Of(const QString& number) const {
    const NumberNormaliser numbers = m_country.normaliser();
    return numbers.active() ? numbers.normalise(number).e164 : QString();
}

Record BulkSmsWindow::recipientFor(const QString& number, const QString& message) const {
    Record record = recipientRecord(number, message);
    const QString e164 = e164Of(number);
    if (!e164.isEmpty())
        record.insert(kE164Key, e164);
    return record;
}

bool BulkSmsWindow::Check_Duplicate_Number(const QString& number) const {
    return holdsNumber(m_country.normaliser().comparisonKey(number));
}

bool BulkSmsWindow::holdsNumber(const QString& key) const {
    // Numbers waiting in a batch count too; a load that replaces the list does not meet the old one.
    return (!m_replacing && m_list.containsNumber(key)) || m_pendingNumbers.contains(key);
}

bool BulkSmsWindow::Check_Exclusion_Number(const QString& number) const {
    return m_exclusionSet.containsNumber(m_country.normaliser().comparisonKey(number));
}

void BulkSmsWindow::rekeyNumbers() {
    const NumberNormaliser numbers = m_country.normaliser();
    const auto rekeyed = [&numbers](const NumberList& table) {
        RecordList records = table.records();
        for (Record& r : records) {
            r.remove(kE164Key);
            if (!numbers.active())
                continue;
            const QString e164 = numbers.normalise(r.value(kNumberKey)).e164;
            if (!e164.isEmpty())
                r.insert(kE164Key, e164);
        }
        return records;
    };
    const QList<int> selected = m_selectedRows;
    m_list.setRecords(rekeyed(m_list));
    m_exclusionSet.setRecords(rekeyed(m_exclusionSet));
    setSelectedRows(selected);
    emit changed();
}

void BulkSmsWindow::Create_Num_Msg_List(const QString& number, const QString& message) {
    const QString trimmed = Trim_Str(number);
    if (!trimmed.isEmpty())
        insertAccepted({trimmed, e164Of(trimmed), false}, message);
}

// The list keeps the order numbers were typed, pasted or loaded in, and is sent in it:
// people's files are often in priority order.
void BulkSmsWindow::insertAccepted(const Accepted& number, const QString& message) {
    Record record = recipientRecord(number.written, message);
    if (!number.e164.isEmpty())
        record.insert(kE164Key, number.e164);
    if (m_batchDepth > 0) {
        m_pending.append(record);
        if (!number.claimed)
            m_pendingNumbers.add(number.e164.isEmpty() ? number.written : number.e164);
        return; // the composer is looked at when the batch goes in, on the main thread
    }
    m_list.append(record);
    rememberComposerText();
}

void BulkSmsWindow::rememberComposerText() {
    if (!m_composerText.isEmpty() && prev_composer_msg.isEmpty() && prev_composer_msg != m_composerText)
        prev_composer_msg = m_composerText;
}

BulkSmsWindow::BatchInsert::BatchInsert(BulkSmsWindow& window) : m_window(window) { ++m_window.m_batchDepth; }

BulkSmsWindow::BatchInsert::~BatchInsert() {
    if (--m_window.m_batchDepth == 0)
        m_window.flushPendingRecipients();
}

void BulkSmsWindow::flushPendingRecipients() {
    if (m_pending.isEmpty())
        return;
    m_list.append(std::exchange(m_pending, {}), std::exchange(m_pendingNumbers, {}));
    rememberComposerText();
}

void BulkSmsWindow::holdInserts(bool replacing) {
    ++m_batchDepth;
    m_replacing = replacing;
}

void BulkSmsWindow::releaseInserts(bool commit) {
    --m_batchDepth;
    if (commit && m_replacing) {
        m_list.clear();
        setSelectedRows({});
    }
    m_replacing = false;
    if (commit) {
        flushPendingRecipients();
    } else {
        m_pending.clear();
        m_pendingNumbers.clear();
    }
    Update_List_Count();
}

void BulkSmsWindow::Create_Exclusion_List(const QString& number) {
    const QString trimmed = Trim_Str(number);
    if (trimmed.isEmpty())
        return;
    Record record{{kNumberKey, trimmed}};
    const QString e164 = e164Of(trimmed);
    if (!e164.isEmpty())
        record.insert(kE164Key, e164);
    m_exclusionSet.append(record);
}

bool BulkSmsWindow::Fill_Exclusion_Num_List() {
    if (!m_exclusion)
        return true;
    m_exclusionSet.clear();
    QString why;
    const std::optional<QStringList> numbers = appliedExclusionNumbers(m_folder, why);
    if (!numbers) {
        op().Show_MessageBox(errorInFileAccessing(why));
        return false;
    }
    for (const QString& number : *numbers)
        Create_Exclusion_List(number);
    return true;
}

void BulkSmsWindow::rejectTypedNumber(const QString& message) {
    op().Show_MessageBox(message);
    requestFocus(Focus::NumberField);
}

void BulkSmsWindow::Add_number_To_List() {
    const QString s = validTypedNumber(m_numberField);
    if (s.isEmpty()) {
        rejectTypedNumber(kInvalidNumber);
        return;
    }
    if (m_skipDuplicates && Check_Duplicate_Number(s)) {
        rejectTypedNumber(QStringLiteral("Entered number already exists."));
        return;
    }
    if (m_exclusion && Check_Exclusion_Number(s)) {
        rejectTypedNumber(QStringLiteral("Entered number is in exclusion list."));
        return;
    }
    Create_Num_Msg_List(s, m_composerText);
    m_numberField.clear();
    emit changed();
    requestFocus(Focus::NumberField);
}

bool BulkSmsWindow::Add_Number_In_List_First() {
    if (Trim_Str(m_numberField).isEmpty())
        return false;
    op().Show_MessageBox(QStringLiteral("Please insert entered number to the list."));
    return true;
}

void BulkSmsWindow::setSelectedRows(QList<int> rows) {
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    m_selectedRows = std::move(rows);
}

bool BulkSmsWindow::isRowSelected(int row) const {
    return std::binary_search(m_selectedRows.cbegin(), m_selectedRows.cend(), row);
}

void BulkSmsWindow::Clear_Sel_Btn() {
    if (m_list.isEmpty()) {
        op().Show_MessageBox(kListEmpty);
        return;
    }
    if (selectedRows().isEmpty()) {
        op().Show_MessageBox(kSelectRecord);
        return;
    }
    m_list.removeRows(selectedRows());
    setSelectedRows(m_list.isEmpty() ? QList<int>{} : QList<int>{0});
    Update_List_Count();
}

void BulkSmsWindow::Clear_All_Btn() {
    if (m_list.isEmpty()) {
        op().Show_MessageBox(kListEmpty);
        return;
    }
    if (!op().Show_YES_NO_MessageBox(
            QStringLiteral("\nThis option will clear the entire list contents. Are you "
                           "sure you want to continue clearing the entire list?")))
        return;
    m_list.clear();
    setSelectedRows({});
}

void BulkSmsWindow::Reset_Btn() {
    if (!op().Show_YES_NO_MessageBox(QStringLiteral("\nAre you sure you want to continue to reset?")))
        return;
    setTextChangeNotifications(true);
    prev_composer_msg.clear();
    m_numberField.clear();
    m_composerText.clear();
    m_list.clear();
    setSelectedRows({});
    m_characterCounter = QStringLiteral("0 Characters");
    m_messageTypeIndex = 1;
    m_delayedDelivery = false;
    m_delayedDeliveryEnabled = true;
    m_delayedChoicesEnabled = false;
    m_delayedCountChoice.clear();
    m_delayedTimeChoice.clear();
    m_exclusion = false;
    m_saveSentItems = false;
    m_saveTemplates = false;
    m_skipDuplicates = false;
    m_unicode = false;
    m_plainPunctuation = false;
    m_quietHours = false;
    m_quietFrom = kDefaultQuietFrom;
    m_quietTo = kDefaultQuietTo;
    keepOptions();
    resetSendingOptions();
    Update_List_Count();
    requestFocus(Focus::NumberField);
}

void BulkSmsWindow::doubleClickInTable(int row) {
    if (selectedRows().size() > 1) {
        op().Show_MessageBox(QStringLiteral("Please select only one record to update."));
        return;
    }
    if (row < 0 || row >= m_list.size())
        return;
    Update_Num_SMS dialog(*this, row);
    op().runModal(dialog);
}

// ---- options ----

QString BulkSmsWindow::defaultCountry() const { return m_country.region(); }

void BulkSmsWindow::setLastLoad(const LoadCounters& counts) {
    m_lastLoad = counts;
    emit changed();
}

QString BulkSmsWindow::refusedNumbersNote() const {
    const int refused = m_lastLoad.impossibleNumbers;
    const QString country = defaultCountry();
    if (refused == 0 || country.isEmpty())
        return QString();
    return QStringLiteral("Last load: %1 that cannot exist (default country %2) left out")
        .arg(counted(refused, QStringLiteral("number"), QStringLiteral("numbers")), country);
}

void BulkSmsWindow::setDefaultCountry(const QString& region) {
    const QString code = NumberNormaliser::regionCode(region);
    if ((code.isEmpty() && !region.trimmed().isEmpty()) || code == defaultCountry())
        return;
    QString why;
    if (!m_country.choose(code, m_folder, &why))
        op().Show_MessageBox(errorInFileAccessing(why));
    emit changed();
}

void BulkSmsWindow::setSkipDuplicates(bool on) {
    m_skipDuplicates = on;
    keepOptions();
    emit changed();
}

bool BulkSmsWindow::Exclusion_Chk(bool on) {
    m_exclusion = on;
    keepOptions();
    const bool filled = Fill_Exclusion_Num_List();
    emit changed();
    return filled;
}

void BulkSmsWindow::setSaveSentItems(bool on) {
    m_saveSentItems = on;
    keepOptions();
    emit changed();
}

void BulkSmsWindow::setSaveTemplates(bool on) {
    m_saveTemplates = on;
    keepOptions();
    emit changed();
}

void BulkSmsWindow::Delayed_Delivery_Chk(bool on) {
    m_delayedDelivery = on;
    m_delayedChoicesEnabled = on;
    m_delayedCountChoice = on ? delayedCountEntries().at(kDefaultDelayedCountIndex) : QString();
    m_delayedTimeChoice = on ? delayedTimeEntries().at(kDefaultDelayedTimeIndex) : QString();
    keepOptions();
    emit changed();
}

bool BulkSmsWindow::Check_Delayed_Delivery_Choices() {
    if (!m_delayedDelivery)
        return true;
    const bool countEmpty = Trim_Str(m_delayedCountChoice).isEmpty();
    if (!countEmpty && !Trim_Str(m_delayedTimeChoice).isEmpty())
        return true;
    op().Show_MessageBox(QStringLiteral("No values have been selected in 'Delayed Delivery Options'."));
    requestFocus(countEmpty ? Focus::DelayedCount : Focus::DelayedTime);
    return false;
}

DelaySchedule BulkSmsWindow::delaySchedule() const {
    return parseDelaySchedule(m_delayedDelivery, m_delayedCountChoice, m_delayedTimeChoice);
}

void BulkSmsWindow::setDelayedDeliveryEnabled(bool enabled) {
    m_delayedDeliveryEnabled = enabled;
    emit changed();
}

void BulkSmsWindow::setDelayedCountChoice(const QString& text) {
    m_delayedCountChoice = text;
    keepOptions();
    emit changed();
}

void BulkSmsWindow::setDelayedTimeChoice(const QString& text) {
    m_delayedTimeChoice = text;
    keepOptions();
    emit changed();
}
