#pragma once
// What the benchmarks share: an operator that answers without a person, a main window for
// the list logic alone, and the process's peak memory.
#include "core/Operator.h"
#include "list/windows/BulkSmsWindow.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <memory>
#include <utility>

namespace bench {

// Answers the file chooser with `file`, every question with `answer`; alerts are printed.
class BenchOperator : public Operator {
public:
    QString file;
    bool answer = false;

protected:
    void showAlert(const QString& text) override {
        std::printf("  alert: %s\n", qPrintable(text.trimmed().left(60)));
    }
    bool askYesNo(const QString&) override { return answer; }
    int showModal(DialogController&) override { return 0; }
    QString openFileDialog(const QStringList&) override { return file; }
    QString saveFileDialog(const QStringList&) override { return {}; }
    void openFile(const QString&) override {}
    void openUrl(const QString&) override {}
    void quit() override {}
};

// Its data folder is a temporary one of its own, gone with the window.
class BenchWindow : public BulkSmsWindow {
public:
    BenchWindow(Kind kind, Operator& op) : BenchWindow(kind, op, std::make_unique<QTemporaryDir>()) {}
    QString title() const override { return {}; }
    int runConnectionSteps() override { return 0; }

private:
    BenchWindow(Kind kind, Operator& op, std::unique_ptr<QTemporaryDir> dir)
        : BulkSmsWindow(kind, op, DataFolder(dir->path(), dir->path())), m_dir(std::move(dir)) {}
    std::unique_ptr<QTemporaryDir> m_dir;
};

// Peak resident memory of the process so far, in MiB (-1 when unknown).
inline double peakMiB() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024.0;
    return -1;
}

// Starts a new peak measurement from the current size.
inline void resetPeak() {
    QFile clear(QStringLiteral("/proc/self/clear_refs"));
    if (clear.open(QIODevice::WriteOnly))
        clear.write("5");
}

} // namespace bench
