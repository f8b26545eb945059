// The test message of the Android device search window: one message in each sending mode,
// unjudged, so that the person at the receiving phone sees which paths work on this phone.
#include "Android_Ph_List_Wnd.h"

#include "android/AdbRunner.h"
#include "android/AndroidDevices.h"
#include "android/AndroidModeTrial.h"
#include "android/CompanionApp.h"
#include "android/PhoneStorage.h"
#include "core/Clock.h"
#include "core/FileUtils.h"
#include "core/Guard.h"
#include "core/MainThread.h"
#include "core/Operator.h"

using namespace std::chrono_literals;

void Android_Ph_List_Wnd::Send_Test_Btn() {
    if (m_worker.isRunning() || m_searching || m_testing)
        return;
    if (m_rows.isEmpty()) {
        m_op.Show_MessageBox(QStringLiteral("Device list is empty."));
        return;
    }
    if (m_selection.sel_port_name_str.isEmpty()) {
        m_op.Show_MessageBox(QStringLiteral("Mobile device is not ready."));
        return;
    }
    QString problem;
    const QString number = AndroidModeTrial::checkedTestNumber(m_testNumber, problem);
    if (!problem.isEmpty()) {
        m_op.Show_MessageBox(problem);
        return;
    }
    const QString model = Get_Device_name_Detail(m_rows.records());
    m_testing = true;
    m_pleaseWait = true;
    emit changed();
    m_worker.start([this, number, model](std::stop_token) {
        Guard::run("Android_Ph_List_Wnd::Send_Test_Btn", [&] {
            Stop_Modem_SRCH = false;
            const AdbTarget target(m_phone.serialFilter);
            QString tag;
            if (!CheckConnection(tag, false, m_op, m_folder, query(), this)) {
                onMain([this] { m_pleaseWait = false; });
                if (tag != QLatin1String("MORE"))
                    m_op.Show_MessageBox(QStringLiteral("Mobile device is not ready."));
                return;
            }
            Send_DEL_File_Command_To_Phone();
            QString fileError =
                AndroidModeTrial::singleShot(m_folder, number,
                                             AndroidModeTrial::caseText(AndroidModeTrial::kSingleShot, model))
                    .fileError;
            const QString standardError =
                AndroidModeTrial::standard(m_folder, number,
                                           AndroidModeTrial::caseText(AndroidModeTrial::kStandard, model))
                    .fileError;
            if (fileError.isEmpty())
                fileError = standardError;
            AndroidModeTrial::classic(number, AndroidModeTrial::caseText(AndroidModeTrial::kClassic, model));
            Clock::sleep(1s);
            onMain([this] { m_pleaseWait = false; });
            if (!fileError.isEmpty())
                m_op.Show_MessageBox(errorInFileAccessing(fileError));
            m_op.Show_MessageBox(QStringLiteral("Message Sending Process Completed."));
        });
        onMain([this] {
            m_pleaseWait = false;
            m_testing = false;
        });
    });
}
