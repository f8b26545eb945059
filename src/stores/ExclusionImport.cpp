#include "ExclusionImport.h"

#include "ExclusionFiles.h"
#include "core/DataFolder.h"
#include "core/TextUtils.h"
#include "stores/windows/Exclusion_Wizard.h"
#include "text/NumberNormaliser.h"

#include <QSet>

namespace {

// A longer line is no number; it is named by its start only.
constexpr qsizetype kShownLineLength = 60;

QString shown(const QString& line) {
    const QString trimmed = Trim_Str(line);
    return trimmed.size() <= kShownLineLength ? trimmed
                                              : trimmed.left(kShownLineLength) + QStringLiteral("…");
}

} // namespace

ExclusionImport takeExclusionNumbers(const QList<ImportLine>& lines, const QStringList& listed,
                                     const NumberNormaliser& normaliser) {
    const auto keyOf = [&](const QString& number) {
        return normaliser.active() ? normaliser.comparisonKey(number) : number;
    };
    QSet<QString> seen;
    for (const QString& number : listed)
        seen.insert(keyOf(number));
    ExclusionImport result;
    for (const ImportLine& line : lines) {
        if (Trim_Str(line.text).isEmpty())
            continue;
        bool gaveNumber = false;
        for (QString piece : line.pieces) {
            piece.remove(QLatin1Char('\\')).remove(QLatin1Char('{')).remove(QLatin1Char('}'));
            const QString number = Exclusion_Wizard::validExclusionNumber(piece);
            if (number.isEmpty())
                continue;
            gaveNumber = true;
            const QString key = keyOf(number);
            if (seen.contains(key)) {
                ++result.alreadyListed;
                continue;
            }
            seen.insert(key);
            result.added << number;
        }
        if (gaveNumber)
            continue;
        const QString why = line.pieces.isEmpty()
                                ? QStringLiteral("a CSV line without a comma holds no number")
                                : QStringLiteral("not a valid phone number");
        result.rejected.append({line.number, shown(line.text), why});
    }
    return result;
}

QString exclusionListNameProblem(const QString& name) {
    if (!IsValidFileName(name))
        return QStringLiteral("\"%1\" cannot be an exclusion list name: 1 to 50 characters, none of "
                              "/ \\ ? % * | \" < > : and no control characters.")
            .arg(name);
    if (name == QLatin1String("ExListIndex"))
        return QStringLiteral("\"ExListIndex\" is the name of the lists' index; please choose another name.");
    return {};
}

QStringList exclusionListNames(const DataFolder& folder, QString* error) {
    folder.Check_Path_And_Create_Files();
    return readListNames(folder.ExListIndex_File_Path(), error);
}

QStringList appliedExclusionListNames(const DataFolder& folder, QString* error) {
    folder.Check_Path_And_Create_Files();
    return readListNames(folder.AppExclusion_File_Path(), error);
}

QStringList exclusionListNumbers(const DataFolder& folder, const QString& name, QString* error) {
    return readTrimmedLines(exclusionListPath(folder, name), error);
}

bool addToExclusionList(const DataFolder& folder, const QString& name, const QStringList& numbers,
                        QString* error) {
    if (!folder.Check_Path_And_Create_Files()) {
        if (error)
            *error = QStringLiteral("%1: the data folder could not be set up")
                         .arg(folder.Bulk_SMS_Data_Folder_Path());
        return false;
    }
    QString why;
    const auto told = [&] {
        if (error)
            *error = why;
        return false;
    };
    const QStringList listed = exclusionListNumbers(folder, name, &why);
    if (!why.isEmpty() || !writeLines(exclusionListPath(folder, name), listed + numbers, &why))
        return told();
    const QStringList names = readListNames(folder.ExListIndex_File_Path(), &why);
    if (!why.isEmpty() || (!names.contains(name) &&
                           !writeLines(folder.ExListIndex_File_Path(), names + QStringList{name}, &why)))
        return told();
    const QStringList applied = readListNames(folder.AppExclusion_File_Path(), &why);
    if (!why.isEmpty() || (!applied.contains(name) &&
                           !writeLines(folder.AppExclusion_File_Path(), applied + QStringList{name}, &why)))
        return told();
    return true;
}
