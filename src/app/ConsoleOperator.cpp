#include "ConsoleOperator.h"

#include "android/And_Conn_Err.h"
#include "core/TextUtils.h"
#include "sending/SMS_Sending.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <cstdio>
#include <unistd.h>

namespace {
void printLine(FILE* stream, const QString& text) {
    std::fprintf(stream, "%s\n", text.toLocal8Bit().constData());
    std::fflush(stream);
}
} // namespace

void ConsoleOperator::showAlert(const QString& fullText) { printLine(stderr, Trim_Str(fullText)); }

bool ConsoleOperator::askYesNo(const QString& text) {
    printLine(stderr, Trim_Str(text) + (m_answerYes ? QStringLiteral(" [yes: --yes]")
                                                    : QStringLiteral(" [no: pass --yes to agree]")));
    return m_answerYes;
}

int ConsoleOperator::showModal(DialogController& dialog) {
    if (auto* box = qobject_cast<And_Conn_Err*>(&dialog)) {
        printLine(stderr, box->title() + QStringLiteral(": ") + box->text());
        return 1;
    }
    auto* job = qobject_cast<SMS_Sending*>(&dialog);
    if (job == nullptr) {
        printLine(stderr, QStringLiteral("(a window that needs a person: %1)")
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
            printLine(stderr, progress);
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
