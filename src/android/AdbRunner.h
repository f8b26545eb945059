#pragma once
// Running adb: once per command, with an argument vector (never through a shell of this
// computer), standard output and error read together, abandoned promptly on a stop. And the
// small judges of its output.
#include <QString>
#include <QStringList>

#include <functional>

// The phone this thread's adb commands go to while it lives (adb's "-s SERIAL"), so that
// several phones can each be driven from their own thread. An empty serial changes nothing:
// adb then takes the one phone attached (or $ANDROID_SERIAL).
class AdbTarget {
public:
    explicit AdbTarget(const QString& serial);
    ~AdbTarget();
    AdbTarget(const AdbTarget&) = delete;
    AdbTarget& operator=(const AdbTarget&) = delete;
    static QString current();

private:
    QString m_before;
};

// adb: $BULKSMS_ADB, else the resource folder's "adb", else the one on the search path.
QString adbProgram();

// Runs adb with these arguments and returns everything it printed (UTF-8). When stop() turns
// true the child is killed and the output so far is returned; without a stop it runs to its
// end. "" when adb cannot be started (logged).
QString ExecuteExternalFile(const QStringList& arguments, const std::function<bool()>& stop = {});

// "" when the output holds "error" or "No device" (any case), else the output.
QString Check_Command_Response_Is_Valid(const QString& output);
// The trimmed value of a "key=value" line; "" without "=" or when the value holds "error:".
QString Android_Device_Details(const QString& line);
// Whether an activity start's output reports an error.
bool Find_Error_In_Stat_Activity(const QString& output);
// Whether an output says the phone is gone or offline (the lost-device check of a send).
bool outputShowsLostDevice(const QString& output);
// "dd-MMM-yyyy  hh:mm:ss a", for troubleshooting log lines.
QString Get_Date_Time_Val();

// A word for the phone's sh: left as it is when it holds only characters sh takes literally,
// else single-quoted (a quote inside as '\'') so that the phone receives exactly the text.
QString phoneShellWord(const QString& text);
