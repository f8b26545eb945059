#include "CommandLineAndroid.h"

#include "ConsoleOutput.h"
#include "android/AndroidDevices.h"
#include "android/AndroidModeTrial.h"
#include "core/FileUtils.h"
#include "core/Operator.h"
#include "core/WorkerThread.h"
#include "device/DeviceRecord.h"
#include "device/TestCaseRecord.h"
#include "services/PhoneList.h"
#include "services/PhoneModeTrials.h"

#include <QSet>

namespace {

template <typename F> auto onWorker(F&& body) {
    std::invoke_result_t<F> result{};
    WorkerThread worker(QStringLiteral("adb"));
    worker.start([&](std::stop_token) { result = body(); });
    worker.join();
    return result;
}

} // namespace

std::optional<ChosenPhone> choosePhone(Operator& op, const DataFolder& folder, const QString& serial) {
    PhoneSearch search(op, folder, PhoneQuery{serial, {}});
    const PhoneSearch::Outcome found = onWorker([&search] { return search.searchOnce(); });
    if (const std::optional<PhoneSearch::Problem> problem = PhoneSearch::problemOf(found))
        printErr(problem->title + QStringLiteral(": ") + problem->text);
    if (found != PhoneSearch::Outcome::Connected) {
        printErr(QStringLiteral("No phone ready to send with."));
        return std::nullopt;
    }
    const PhoneSearch::Outcome checked = onWorker([&search] { return search.recheck(); });
    if (checked != PhoneSearch::Outcome::Connected) {
        if (checked != PhoneSearch::Outcome::More)
            op.Show_MessageBox(QStringLiteral("Mobile device is not ready."));
        printErr(QStringLiteral("The phone could not be selected."));
        return std::nullopt;
    }
    const QString attached = onWorker([&search] { return search.attachedSerial(); });
    ChosenPhone phone = chosenPhone(search.rows(), search.deviceLine(), attached);
    printErr(attached.isEmpty() ? QStringLiteral("Phone: %1").arg(phone.caption)
                                : QStringLiteral("Phone: %1 (%2)").arg(phone.caption, attached));
    return phone;
}

int testAndroidPhone(Operator& op, const DataFolder& folder, const QString& serial, const QString& number) {
    const std::optional<ChosenPhone> phone = choosePhone(op, folder, serial);
    if (!phone)
        return 2;
    QString problem;
    const QString checkedNumber = AndroidModeTrial::checkedTestNumber(number, problem);
    if (!problem.isEmpty()) {
        op.Show_MessageBox(problem);
        return 2;
    }
    RecordList cases = PhoneModeTrials::caseRows(phone->caption);
    const PhoneModeTrials::Progress progress{[](int, const QString&) {},
                                             [&](int index, const QString& status, const QString& fileError) {
                                                 if (!fileError.isEmpty())
                                                     op.Show_MessageBox(errorInFileAccessing(fileError));
                                                 cases[index].insert(kCaseStatusKey, status);
                                             }};
    const PhoneModeTrials::Trial trial{checkedNumber, phone->caption, phone->details, {}};
    const PhoneSearch::Outcome ready =
        onWorker([&] { return PhoneModeTrials(op, folder, serial).run(trial, progress); });
    if (ready != PhoneSearch::Outcome::Connected && ready != PhoneSearch::Outcome::More)
        op.Show_MessageBox(kNoPhoneSelectedMessage);
    bool anyWorked = false;
    for (const Record& c : cases) {
        printOut(QStringLiteral("%1\t%2\t%3\t%4")
                     .arg(c.value(kPhoneCaseLabelKey), c.value(kCaseCodeKey), c.value(kCaseDescriptionKey),
                          c.value(kCaseStatusKey)));
        anyWorked = anyWorked || c.value(kCaseStatusKey) == QLatin1String("Success");
    }
    return anyWorked ? 0 : 1;
}

QStringList attachedPhoneSerials() {
    const QString list = onWorker([] { return Get_Android_Device_List(); });
    QStringList serials;
    for (const QString& line : list.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        if (line.trimmed().section(QLatin1Char('\t'), 1).trimmed() == QLatin1String("device"))
            serials << line.trimmed().section(QLatin1Char('\t'), 0, 0);
    return serials;
}

int listAndroidDevices(const DataFolder& folder, const QString& serial) {
    const QList<ListedPhone> phones = onWorker([&] { return listPhones(folder, serial); });
    for (const ListedPhone& phone : phones) {
        QString text = phone.serial + QLatin1Char('\t') + phone.state;
        for (const Record& row : phone.properties)
            text += QLatin1Char('\t') + row.value(kPortNameKey).trimmed() + QStringLiteral(": ") +
                    row.value(kPortDetailKey);
        printOut(text);
    }
    if (phones.isEmpty())
        printErr(QStringLiteral("No Android phone found."));
    return phones.isEmpty() ? 1 : 0;
}
