#include "ConsoleOperator.h"

#include "ConsoleOutput.h"
#include "android/windows/And_Conn_Err.h"
#include "core/TextUtils.h"
#include "sending/windows/SMS_Sending.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <cstdio>
#include <unistd.h>

void ConsoleOperator::showAlert(const QString& fullText) { printErr(Trim_Str(fullText)); }

bool ConsoleOperator::askYesNo(const QString& text) {
    printErr(Trim_Str(text) +
             (m_answerYes ? QStringLiteral(" [yes: --yes]") : QStringLiteral(" [no: pass --yes to agree]")));
    return m_answerYes;
}

int ConsoleOperator::showModal(DialogController& dialog) {
    if (auto* box = qobject_cast<And_Conn_Err*>(&dialog)) {
        printErr(box->title() + QStringLiteral(": ") + box->text());
        return 1;
    }
    auto* job = qobject_cast<SMS_Sending*>(&dialog);
    if (job == nullptr) {
        printErr(QStringLiteral("(a window that needs a person: %1)")
                     .arg(QLatin1String(dialog.metaObject()->className())));
        return 0;
    }
    // The job's window as lines: a bar redrawn in place on a terminal, a line per step otherwise.
    const bool terminal = ::isatty(STDERR_FILENO) == 1;
    QString last;
    QEventLoop loop;
    const auto show = [&] {
        const QString progress = job->progressText();
        if (progress == last)
            return;
        last = progress;
        const int width = 30;
        const int filled =
            job->overallMaximum() > 0 ? width * job->overallValue() / job->overallMaximum() : 0;
        const QString bar = QStringLiteral("[") + QString(filled, u'#') + QString(width - filled, u'.') +
                            QStringLiteral("] ");
        if (terminal)
            std::fprintf(stderr, "\r%s%s   ", bar.toLocal8Bit().constData(),
                         progress.toLocal8Bit().constData());
        else
            printErr(progress);
    };
    QObject::connect(job, &DialogController::changed, &loop, show);
    QObject::connect(job, &DialogController::ended, &loop, [&loop] { loop.quit(); });
    // Nobody presses Close here: the run ends the window once it is finished.
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (job->finished() && !job->running() && !job->isEnded())
            job->CancelPressed();
    });
    poll.start(20);
    loop.exec();
    if (terminal)
        std::fprintf(stderr, "\n");
    return job->endCode();
}
