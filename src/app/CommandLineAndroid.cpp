#include "CommandLineAndroid.h"

#include "ConsoleOutput.h"
#include "StopSignals.h"
#include "android/AndroidDevices.h"
#include "android/windows/Android_Ph_List_Wnd.h"
#include "android/windows/Android_TroubleShooting.h"
#include "core/WorkerThread.h"
#include "device/DeviceRecord.h"
#include "device/TestCaseRecord.h"
#include "sending/windows/Bulk_SMSAppDelegate.h"

#include <QSet>

namespace {

// Narrows every adb command to one phone: adb by ANDROID_SERIAL (the device list by the
// caller's serial filter).
void pointAdbAt(const QString& serial) {
    if (serial.isEmpty())
        qunsetenv("ANDROID_SERIAL");
    else
        qputenv("ANDROID_SERIAL", serial.toLocal8Bit());
}

template <typename F> auto onWorker(F&& body) {
    std::invoke_result_t<F> result{};
    WorkerThread worker(QStringLiteral("adb"));
    worker.start([&](std::stop_token) { result = body(); });
    worker.join();
    return result;
}

// Searches and selects the phone as the device search window does; false (said why) when none.
bool selectPhone(Bulk_SMSAppDelegate& window, Operator& op, const QString& serial) {
    pointAdbAt(serial);
    window.androidSelection().serialFilter = serial;
    Android_Ph_List_Wnd search(op, window.dataFolder(), window.selection(), window.androidSelection());
    const auto outcome = onWorker([&search] { return search.searchDevice(false); });
    if (outcome != Android_Ph_List_Wnd::Outcome::Connected) {
        printErr(QStringLiteral("No phone ready to send with."));
        return false;
    }
    search.beginModal();
    search.Select_Btn();
    if (!search.isEnded() || search.endCode() != 1) {
        printErr(QStringLiteral("The phone could not be selected."));
        return false;
    }
    window.applyDeviceSelection();
    printErr(QStringLiteral("Phone: %1").arg(window.deviceCaption()));
    return true;
}

} // namespace

int testAndroidPhone(Bulk_SMSAppDelegate& window, Operator& op, const QString& serial,
                     const QString& number) {
    if (!selectPhone(window, op, serial))
        return 2;
    Android_TroubleShooting test(op, window.dataFolder(), window.androidSelection(), window.selection());
    test.open(window.deviceCaption());
    test.setTestNumberText(number);
    test.Start_Btn();
    if (!test.testing())
        return 2; // refused: the reason was shown
    test.waitForTest();
    bool anyWorked = false;
    for (const Record& c : test.cases().records()) {
        printOut(QStringLiteral("%1\t%2\t%3\t%4")
                     .arg(c.value(kPhoneCaseLabelKey), c.value(kCaseCodeKey), c.value(kCaseDescriptionKey),
                          c.value(kCaseStatusKey)));
        anyWorked = anyWorked || c.value(kCaseStatusKey) == QLatin1String("Success");
    }
    return anyWorked ? 0 : 1;
}

int listAndroidDevices(const DataFolder& folder, const QString& serial) {
    pointAdbAt(serial);
    const QString list = onWorker([&serial] { return Get_Android_Device_List(PhoneQuery{serial, {}}); });
    int phones = 0;
    for (const QString& entry : list.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QString phone = entry.trimmed().section(QLatin1Char('\t'), 0, 0);
        const QString state = entry.trimmed().section(QLatin1Char('\t'), 1).trimmed();
        ++phones;
        QString text = phone + QLatin1Char('\t') + state;
        if (state == QLatin1String("device")) {
            pointAdbAt(phone);
            const RecordList rows = onWorker([&folder] { return readDeviceProperties(folder); });
            for (const Record& row : rows)
                text += QLatin1Char('\t') + row.value(kPortNameKey).trimmed() + QStringLiteral(": ") +
                        row.value(kPortDetailKey);
            pointAdbAt(serial);
        }
        printOut(text);
    }
    if (phones == 0)
        printErr(QStringLiteral("No Android phone found."));
    return phones > 0 ? 0 : 1;
}

int sendThroughAndroid(Bulk_SMSAppDelegate& window, Operator& op, const QString& serial,
                       const QString& mode) {
    if (mode != QLatin1String("single-shot") && mode != QLatin1String("standard") &&
        mode != QLatin1String("classic")) {
        printErr(QStringLiteral("Unknown mode: %1 (single-shot, standard or classic)").arg(mode));
        return 2;
    }
    if (!selectPhone(window, op, serial))
        return 2;

    if (mode == QLatin1String("single-shot")) {
        window.Single_Shot_Radio();
    } else {
        window.One_By_One_Radio();
        if (mode == QLatin1String("classic"))
            window.Classic_Radio();
        else
            window.Standard_Radio();
    }

    QString last;
    QObject::connect(&window.progress(), &AndroidSendingProgress::changed, &window, [&] {
        const AndroidSendingProgress::State& s = window.progress().state();
        const QString text =
            s.singleShot ? s.statusText
                         : (s.counterText.isEmpty() ? s.statusText
                                                    : s.counterText + QLatin1Char(' ') + s.currentText) +
                               (s.pauseText.isEmpty() ? QString() : QLatin1Char(' ') + s.pauseText);
        if (s.visible && text != last && !text.isEmpty()) {
            last = text;
            printErr(text);
        }
    });
    StopSignals::install([&window] {
        if (!window.sendInProgress())
            return false;                // not sending yet: the stop waits for the run
        window.progress().requestStop(); // as after Stop: the rest is marked, the record kept
        return true;
    });
    window.prev_composer_msg = window.composerText();
    window.Send_SMS_Btn();
    window.waitForSend();

    // What the run was to send: every record that was neither excluded nor a skipped duplicate.
    int wanted = 0;
    QSet<QString> seen;
    for (const Record& r : window.list().records()) {
        const QString number = recipientNumber(r);
        const bool excluded = window.exclusion() && window.Check_Exclusion_Number(number);
        const bool skipped = !excluded && window.skipDuplicates() && seen.contains(number);
        seen.insert(number);
        wanted += !excluded && !skipped;
    }
    const int sent = window.lastRunSent();
    printOut(QStringLiteral("%1 of %2 recipients sent.").arg(sent).arg(wanted));
    if (window.lastRunEnd() == Bulk_SMSAppDelegate::RunEnd::DataNotWritten)
        return 4;
    if (window.lastRunEnd() == Bulk_SMSAppDelegate::RunEnd::Completed && sent == wanted)
        return 0;
    return sent == 0 && wanted > 0 ? 3 : 1;
}
