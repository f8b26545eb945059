#include "ContactListExport.h"

#include "ExportFile.h"
#include "core/Guard.h"
#include "core/Operator.h"
#include "list/windows/BulkSmsWindow.h"
#include "stores/windows/ExportDialogs.h"

bool exportContactList(BulkSmsWindow& window) {
    Operator& op = window.op();
    if (window.list().isEmpty()) {
        op.Show_MessageBox(QStringLiteral("Phone numbers-Messages list is empty."));
        emit window.focusRequested(BulkSmsWindow::Focus::NumberField);
        return false;
    }
    bool written = false;
    const bool ran = Guard::run("Export_Btn", [&] {
        ExportFormat format = ExportFormat::Text;
        const QString path = chooseListPath(op, format);
        if (path.isEmpty())
            return;
        QList<QPair<QString, QString>> rows;
        rows.reserve(window.list().size());
        for (const Record& r : window.list().records())
            rows.append({r.value(kNumberKey), r.value(kMessageKey)});
        QString why;
        written = format == ExportFormat::Xlsx ? writeExportWorkbook(path, contactListRows(rows), &why)
                                               : writeExportBytes(path, contactListText(rows), &why);
        if (!written) {
            op.Show_MessageBox(errorInFileAccessing(why));
            return;
        }
        window.bringToFront();
        offerToOpenExport(op, path);
    });
    if (!ran)
        op.Show_MessageBox(kErrorInFileAccessing);
    return written;
}
