#include "PhoneShell.h"

namespace sim {

namespace {

bool isNameStart(QChar c) { return c == QLatin1Char('_') || (c.isLetter() && c.unicode() < 128); }
bool isNameChar(QChar c) { return isNameStart(c) || (c.isDigit() && c.unicode() < 128); }
bool isBlank(QChar c) { return c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n'); }

class Parser {
public:
    Parser(const QString& line, const QHash<QString, QString>& env) : m_line(line), m_env(env) {}

    ShellParse run() {
        bool inWord = false;
        bool commandEnded = false;
        QString word;
        const auto endWord = [&] {
            if (inWord && !commandEnded)
                m_result.words.append(word);
            word.clear();
            inWord = false;
        };
        const qsizetype n = m_line.size();
        qsizetype i = 0;
        while (i < n) {
            const QChar c = m_line.at(i);
            if (isBlank(c)) {
                endWord();
                ++i;
                continue;
            }
            if (c == QLatin1Char('#') && !inWord) {
                break; // a comment runs to the end of the line
            }
            if (c == QLatin1Char('\\')) {
                inWord = true;
                if (i + 1 < n && m_line.at(i + 1) != QLatin1Char('\n'))
                    word += m_line.at(i + 1);
                i += 2;
                continue;
            }
            if (c == QLatin1Char('\'')) {
                inWord = true;
                const qsizetype close = m_line.indexOf(QLatin1Char('\''), i + 1);
                if (close < 0) {
                    m_result.unterminated = true;
                    word += m_line.mid(i + 1);
                    i = n;
                } else {
                    word += m_line.mid(i + 1, close - i - 1);
                    i = close + 1;
                }
                continue;
            }
            if (c == QLatin1Char('"')) {
                inWord = true;
                i = doubleQuoted(i + 1, word);
                continue;
            }
            if (c == QLatin1Char('$')) {
                if (i + 1 < n && m_line.at(i + 1) == QLatin1Char('(')) {
                    m_result.injections.append(QStringLiteral("$("));
                    endWord();
                    commandEnded = true;
                    i += 2;
                    continue;
                }
                QString value;
                const qsizetype next = expand(i, value);
                if (next == i + 1) { // a lone "$" stays itself
                    inWord = true;
                    word += c;
                } else {
                    // Unquoted: the value is split into fields at blanks.
                    const QStringList fields = splitFields(value);
                    for (qsizetype f = 0; f < fields.size(); ++f) {
                        if (f > 0)
                            endWord();
                        if (!fields.at(f).isEmpty()) {
                            inWord = true;
                            word += fields.at(f);
                        }
                    }
                }
                i = next;
                continue;
            }
            const QString op = operatorAt(i);
            if (!op.isEmpty()) {
                if (!(op == QLatin1String("<") && isClientNullRedirection(i)))
                    m_result.injections.append(op);
                endWord();
                commandEnded = true;
                i += op.size();
                continue;
            }
            inWord = true;
            word += c;
            ++i;
        }
        endWord();
        return m_result;
    }

private:
    // Field splitting with the default IFS: blanks separate, and a leading or trailing blank
    // ends the word before or starts a new one after.
    static QStringList splitFields(const QString& value) {
        QStringList fields{QString()};
        for (const QChar c : value) {
            if (isBlank(c)) {
                if (!fields.last().isEmpty() || fields.size() == 1)
                    fields.append(QString());
            } else {
                fields.last() += c;
            }
        }
        return fields;
    }

    QString operatorAt(qsizetype i) const {
        const QChar c = m_line.at(i);
        switch (c.unicode()) {
        case ';': return QStringLiteral(";");
        case '&': return QStringLiteral("&");
        case '|': return QStringLiteral("|");
        case '<': return QStringLiteral("<");
        case '>': return QStringLiteral(">");
        case '`': return QStringLiteral("`");
        case '(': return QStringLiteral("(");
        case ')': return QStringLiteral(")");
        default: return {};
        }
    }

    bool isClientNullRedirection(qsizetype i) const {
        return m_line.mid(i) == QLatin1String("</dev/null") && i > 0 && m_line.at(i - 1) == QLatin1Char(' ');
    }

    // From just after an opening double quote; returns the index after the closing one.
    qsizetype doubleQuoted(qsizetype i, QString& word) {
        const qsizetype n = m_line.size();
        while (i < n) {
            const QChar c = m_line.at(i);
            if (c == QLatin1Char('"'))
                return i + 1;
            if (c == QLatin1Char('\\') && i + 1 < n) {
                const QChar e = m_line.at(i + 1);
                if (e == QLatin1Char('$') || e == QLatin1Char('`') || e == QLatin1Char('"') ||
                    e == QLatin1Char('\\')) {
                    word += e;
                    i += 2;
                    continue;
                }
                if (e == QLatin1Char('\n')) {
                    i += 2;
                    continue;
                }
                word += c;
                ++i;
                continue;
            }
            if (c == QLatin1Char('`')) {
                m_result.injections.append(QStringLiteral("`"));
                ++i;
                continue;
            }
            if (c == QLatin1Char('$')) {
                if (i + 1 < n && m_line.at(i + 1) == QLatin1Char('(')) {
                    m_result.injections.append(QStringLiteral("$("));
                    i += 2;
                    continue;
                }
                QString value;
                const qsizetype next = expand(i, value);
                word += next == i + 1 ? QString(c) : value;
                i = next;
                continue;
            }
            word += c;
            ++i;
        }
        m_result.unterminated = true;
        return n;
    }

    // At a "$": the expansion's value; returns the index after it (i + 1 when nothing expands).
    qsizetype expand(qsizetype i, QString& value) const {
        const qsizetype n = m_line.size();
        qsizetype j = i + 1;
        if (j >= n)
            return j;
        const QChar c = m_line.at(j);
        if (c == QLatin1Char('{')) {
            const qsizetype close = m_line.indexOf(QLatin1Char('}'), j + 1);
            if (close < 0)
                return n;
            QString name = m_line.mid(j + 1, close - j - 1);
            qsizetype end = 0;
            while (end < name.size() && isNameChar(name.at(end)))
                ++end;
            name.truncate(end); // ${VAR:-word} and the like: the variable alone
            value = m_env.value(name);
            return close + 1;
        }
        if (isNameStart(c)) {
            qsizetype k = j;
            while (k < n && isNameChar(m_line.at(k)))
                ++k;
            value = m_env.value(m_line.mid(j, k - j));
            return k;
        }
        if (c.isDigit() || QStringLiteral("?#$!@*-").contains(c)) {
            value = c == QLatin1Char('?')   ? QStringLiteral("0")
                    : c == QLatin1Char('$') ? QStringLiteral("4242")
                                            : QString();
            return j + 1;
        }
        return j;
    }

    const QString& m_line;
    const QHash<QString, QString>& m_env;
    ShellParse m_result;
};

} // namespace

ShellParse parseShellLine(const QString& line, const QHash<QString, QString>& environment) {
    return Parser(line, environment).run();
}

QString shellQuote(const QString& word) {
    QString quoted = word;
    quoted.replace(QLatin1Char('\''), QStringLiteral("'\\''"));
    return QLatin1Char('\'') + quoted + QLatin1Char('\'');
}

} // namespace sim
