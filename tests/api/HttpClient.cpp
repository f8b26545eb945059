#include "HttpClient.h"

#include <QProcess>
#include <QTemporaryFile>

HttpAnswer curl(const HttpRequest& request) {
    QTemporaryFile headers, body;
    headers.open();
    body.open();
    QStringList arguments{
        "-s",         "-X", request.method, "-D",          headers.fileName(), "-o", body.fileName(),
        "--max-time", "20", "-w",           "%{http_code}"};
    for (const QString& h : request.headers)
        arguments << "-H" << h;
    if (!request.token.isEmpty())
        arguments << "-H" << QStringLiteral("Authorization: Bearer ") + request.token;
    if (request.hasBody)
        arguments << "-H"
                  << "Content-Type: application/json"
                  << "--data-binary"
                  << "@-";
    arguments << "-k" << request.url;
    QProcess process;
    process.start(QStringLiteral("curl"), arguments);
    if (request.hasBody) {
        process.write(request.body);
    }
    process.closeWriteChannel();
    process.waitForFinished(60000);
    HttpAnswer answer;
    answer.status = process.readAllStandardOutput().trimmed().toInt();
    answer.body = body.readAll();
    for (const QByteArray& line : headers.readAll().split('\n')) {
        const qsizetype colon = line.indexOf(':');
        if (colon > 0)
            answer.headers.insert(QString::fromLatin1(line.left(colon)).toLower(),
                                  QString::fromLatin1(line.mid(colon + 1)).trimmed());
    }
    return answer;
}
