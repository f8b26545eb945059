#pragma once
// The bulk loads of a main window's list: numbers from a text, RTF or CSV file (read on a
// worker thread), a pasted block, and the hand-over of workbooks to the spreadsheet
// windows. One loader per window, created on first use as the window's child.
#include <QObject>
#include <QString>
#include <QStringList>

class BulkSmsWindow;
struct LoadCounters;

class NumberLoader : public QObject {
    Q_OBJECT
public:
    static NumberLoader& of(BulkSmsWindow& window);
    ~NumberLoader() override;

    // The window's three load buttons.
    void Load_Number();
    void Manually_Add_Btn();
    void Excel_Msg_Load_Btn();

    // Loads one text, RTF or CSV file into the list on the loading thread (ListLoad): the
    // file is read as a stream and the accepted numbers go in when it is done, unless the
    // load is cancelled.
    void Load_Num_Func(const QString& path);

    // True from the start of a load into the list to its end; the Send button and every
    // control that changes the list are disabled meanwhile.
    bool isLoading() const;
    // Shown while a load runs.
    bool pleaseWaitVisible() const { return isLoading(); }

    static QStringList fileExtensions();
    static QString corruptedFileMessage();

signals:
    void loadingChanged(bool loading);
    void pleaseWaitChanged(bool visible);

private:
    explicit NumberLoader(BulkSmsWindow& window);
    // The number field check and the keep-or-replace question; false stops the load.
    bool beginBulkLoad();
    // After a load: the summary when nothing was added.
    void reportIfNothingAdded(const LoadCounters& counts);

    BulkSmsWindow& m_window;
};
