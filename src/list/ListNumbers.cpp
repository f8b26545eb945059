#include "ListNumbers.h"

#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/Log.h"
#include "core/TextUtils.h"
#include "text/NumberRules.h"
#include "text/TextLines.h"

namespace {

// Lines of a UTF-8 data file, without line ends; a missing file has none, nor one that
// cannot be read (why then says so).
QStringList readLines(const QString& path, QString& why) {
    PrivateFile file(path);
    if (!file.open(&why))
        return {};
    return TextLines::split(QString::fromUtf8(file.readAll()));
}

// Digits with at most a leading "+", no longer than a number may be: what normalising and
// the character checks would give back unchanged and let through.
bool isPlainNumber(const QString& s) {
    const qsizetype size = s.size();
    if (size == 0 || size > kMaxNumberLength)
        return false;
    const QChar* c = s.constData();
    for (qsizetype i = c->unicode() == u'+' ? 1 : 0; i < size; ++i)
        if (c[i].unicode() < u'0' || c[i].unicode() > u'9')
            return false;
    return true;
}

} // namespace

std::optional<AcceptedNumber> acceptNumber(const QString& raw, const NumberNormaliser& numbers,
                                           LoadCounters& counts) {
    // Most cells and lines are a number as it is kept: nothing to normalise or check.
    const bool plain = isPlainNumber(raw);
    const QString s = plain ? raw : normaliseNumberText(raw);
    if (s.isEmpty())
        return std::nullopt;
    ++counts.TOT_PROC;
    if (!plain && (::Check_Ph_Number(s, false) || hasMisplacedPlus(s)))
        return std::nullopt;
    const NormalisedNumber n = numbers.normalise(s);
    if (!n.valid()) {
        ++counts.impossibleNumbers;
        return std::nullopt;
    }
    ++counts.TOT;
    return AcceptedNumber{n.written, n.e164};
}

std::optional<QStringList> appliedExclusionNumbers(const DataFolder& folder, QString& why) {
    folder.Check_Path_And_Create_Files();
    QStringList numbers;
    const QStringList names = readLines(folder.AppExclusion_File_Path(), why);
    if (!why.isEmpty())
        return std::nullopt;
    for (const QString& name : names) {
        // A list name is a plain file name; anything that could leave the folder is ignored.
        if (name.isEmpty() || name.contains(QLatin1Char('/')) || name == QLatin1String("..") ||
            name == QLatin1String(".")) {
            if (!name.isEmpty())
                Show_NSLog_Message(QStringLiteral("Ignored exclusion list name: %1").arg(name));
            continue;
        }
        const QString path =
            folder.Exclusion_Folder_Path() + QLatin1Char('/') + name + QStringLiteral(".OSTREL");
        for (const QString& number : readLines(path, why)) {
            const QString trimmed = Trim_Str(number);
            if (!trimmed.isEmpty())
                numbers << trimmed;
        }
        if (!why.isEmpty())
            return std::nullopt;
    }
    return numbers;
}
