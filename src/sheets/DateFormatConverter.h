#pragma once
// Date cells: which number formats are dates, how a custom format code becomes a Unicode
// date pattern, and how a date serial (days since 30 December 1899, the fraction being
// the time of day) becomes text in the local time zone and the user's locale.
#include <QHash>
#include <QString>

#include <unicode/uversion.h>

#include <memory>

U_NAMESPACE_BEGIN
class Calendar;
class SimpleDateFormat;
U_NAMESPACE_END

// True for the format ids whose cells hold date serials: 14-17, 19-22, 164-167.
bool isDateFormatId(int numFmtId);

// A spreadsheet format code ("[$-409]dddd, mmmm dd, yyyy;@") as a Unicode date pattern
// ("EEEE, MMMM dd, yyyy").
QString datePatternFromFormatCode(const QString& formatCode);

// Formats date serials; keeps its formatters and calendars between cells.
class ExcelDateFormatter {
public:
    // days1904: the workbook counts from 1 January 1904 (1,462 days later).
    explicit ExcelDateFormatter(bool days1904 = false);
    ~ExcelDateFormatter();
    ExcelDateFormatter(const ExcelDateFormatter&) = delete;
    ExcelDateFormatter& operator=(const ExcelDateFormatter&) = delete;

    // The serial as text with the pattern ("" picks a date or date-and-time default). The
    // text comes back unchanged when the pattern has no date or time letter, or the serial
    // lies before 1900 or after 9999; "" when it cannot be formatted.
    QString format(const QString& text, const QString& pattern);

private:
    icu::SimpleDateFormat* formatterFor(const QString& pattern);

    bool m_days1904;
    std::unique_ptr<icu::Calendar> m_local;
    std::unique_ptr<icu::Calendar> m_utc;
    QHash<QString, std::shared_ptr<icu::SimpleDateFormat>> m_formatters;
};

// Free form of ExcelDateFormatter::format for the 1900 date system.
QString Excel_Xml_Date_To_String(const QString& text, const QString& final_date_format);
