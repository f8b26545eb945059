#include "RtfConverter.h"

#include "core/Guard.h"

#include "CodePageDecoder.h"

#include <QSet>

#include <cctype>

#include <vector>

namespace {

// Destinations whose content is never text of the document.
const QSet<QByteArray>& skippedDestinations() {
    static const QSet<QByteArray> names{"fonttbl",    "colortbl",     "stylesheet",
                                        "info",       "pict",         "object",
                                        "fldinst",    "listtable",    "listoverridetable",
                                        "revtbl",     "rsidtbl",      "generator",
                                        "xmlnstbl",   "themedata",    "colorschememapping",
                                        "datastore",  "latentstyles", "filetbl",
                                        "pgdsctbl",   "header",       "headerl",
                                        "headerr",    "headerf",      "footer",
                                        "footerl",    "footerr",      "footerf",
                                        "footnote",   "annotation",   "mmathPr",
                                        "bkmkstart",  "bkmkend",      "operator",
                                        "author",     "title",        "subject",
                                        "keywords",   "comment",      "doccomm",
                                        "nonshppict", "shppict",      "blipuid",
                                        "atnid",      "atnauthor",    "protusertbl",
                                        "background", "xe",           "tc"};
    return names;
}

struct GroupState {
    bool skip = false;   // inside a destination that is dropped
    int unicodeSkip = 1; // fallback characters after each \uN
};

class Converter {
public:
    explicit Converter(const QByteArray& rtf) : m_in(rtf) {}

    QString run() {
        m_groups.push_back(GroupState{});
        while (m_pos < m_in.size()) {
            const char c = m_in.at(m_pos++);
            switch (c) {
            case '{':
                flushBytes();
                m_groups.push_back(m_groups.back());
                m_pendingSkip = 0;
                break;
            case '}':
                flushBytes();
                if (m_groups.size() > 1)
                    m_groups.pop_back();
                m_pendingSkip = 0;
                break;
            case '\\': controlSequence(); break;
            case '\r':
            case '\n': break; // line ends of the RTF source are not text
            default: textByte(c); break;
            }
        }
        flushBytes();
        return m_out;
    }

private:
    GroupState& group() { return m_groups.back(); }

    // One character of fallback text after \uN is consumed; true when c was swallowed.
    bool swallowedAsFallback() {
        if (m_pendingSkip <= 0)
            return false;
        --m_pendingSkip;
        return true;
    }

    void textByte(char c) {
        if (swallowedAsFallback() || group().skip)
            return;
        if (static_cast<unsigned char>(c) >= 0x80) {
            m_bytes.append(c);
            return;
        }
        flushBytes();
        m_out.append(QLatin1Char(c));
    }

    void emitText(const QString& text) {
        if (group().skip)
            return;
        flushBytes();
        m_out.append(text);
    }

    void flushBytes() {
        if (m_bytes.isEmpty())
            return;
        m_out.append(CodePageDecoder::decode(m_bytes, m_charset));
        m_bytes.clear();
    }

    void controlSequence() {
        if (m_pos >= m_in.size())
            return;
        const char c = m_in.at(m_pos);
        if (std::isalpha(static_cast<unsigned char>(c))) {
            controlWord();
            return;
        }
        ++m_pos;
        switch (c) {
        case '\'': {
            // Two hex digits; a malformed escape swallows the digits it has and gives nothing.
            qsizetype digits = 0;
            while (digits < 2 && m_pos + digits < m_in.size() &&
                   std::isxdigit(static_cast<unsigned char>(m_in.at(m_pos + digits))))
                ++digits;
            const int value = m_in.mid(m_pos, digits).toInt(nullptr, 16);
            m_pos += digits;
            if (digits != 2 || swallowedAsFallback() || group().skip)
                return;
            if (value < 0x80) {
                flushBytes();
                m_out.append(QChar(value));
            } else {
                m_bytes.append(char(value));
            }
            return;
        }
        case '*': group().skip = true; return;
        case '\\':
        case '{':
        case '}': textByte(c); return;
        case '~':
            if (!swallowedAsFallback())
                emitText(QString(QChar(0x00A0)));
            return;
        case '_':
            if (!swallowedAsFallback())
                emitText(QStringLiteral("-"));
            return;
        case '\r':
        case '\n':
            emitText(QStringLiteral("\n")); // an escaped line end is a paragraph mark
            return;
        default:
            swallowedAsFallback(); // \- \| \: and the like: no text
            return;
        }
    }

    void controlWord() {
        const qsizetype start = m_pos;
        while (m_pos < m_in.size() && std::isalpha(static_cast<unsigned char>(m_in.at(m_pos))))
            ++m_pos;
        const QByteArray word = m_in.mid(start, m_pos - start);
        bool hasParam = false;
        long long param = 0;
        const qsizetype numStart = m_pos;
        if (m_pos < m_in.size() && m_in.at(m_pos) == '-')
            ++m_pos;
        while (m_pos < m_in.size() && std::isdigit(static_cast<unsigned char>(m_in.at(m_pos))) &&
               m_pos - numStart < 11)
            ++m_pos;
        if (m_pos > numStart && !(m_pos == numStart + 1 && m_in.at(numStart) == '-')) {
            param = m_in.mid(numStart, m_pos - numStart).toLongLong(&hasParam);
        } else {
            m_pos = numStart;
        }
        if (m_pos < m_in.size() && m_in.at(m_pos) == ' ')
            ++m_pos; // the delimiting space belongs to the control word
        controlWordAction(word, hasParam, param);
    }

    void controlWordAction(const QByteArray& word, bool hasParam, long long param) {
        if (word == "bin") {
            // Binary data of the given length follows; it is never text.
            m_pos += qBound(0LL, hasParam ? param : 0LL, static_cast<long long>(m_in.size() - m_pos));
            return;
        }
        if (skippedDestinations().contains(word)) {
            flushBytes();
            group().skip = true;
            return;
        }
        if (word == "u" && hasParam) {
            long long code = param;
            if (code < 0)
                code += 65536;
            if (code >= 0 && code <= 0xFFFF)
                emitText(QString(QChar(char16_t(code))));
            m_pendingSkip = group().unicodeSkip;
            return;
        }
        m_pendingSkip = 0;
        if (word == "uc") {
            group().unicodeSkip = int(qBound(0LL, param, 16LL));
        } else if (word == "ansicpg") {
            flushBytes();
            m_charset = CodePageDecoder::charsetOfCodePage(int(param));
        } else if (word == "mac") {
            m_charset = QStringLiteral("macintosh");
        } else if (word == "pc") {
            m_charset = QStringLiteral("ibm-437");
        } else if (word == "pca") {
            m_charset = QStringLiteral("ibm-850");
        } else if (word == "par" || word == "line" || word == "sect" || word == "page" || word == "row") {
            emitText(QStringLiteral("\n"));
        } else if (word == "tab" || word == "cell") {
            emitText(QStringLiteral("\t"));
        } else if (word == "emdash") {
            emitText(QString(QChar(0x2014)));
        } else if (word == "endash") {
            emitText(QString(QChar(0x2013)));
        } else if (word == "bullet") {
            emitText(QString(QChar(0x2022)));
        } else if (word == "lquote") {
            emitText(QString(QChar(0x2018)));
        } else if (word == "rquote") {
            emitText(QString(QChar(0x2019)));
        } else if (word == "ldblquote") {
            emitText(QString(QChar(0x201C)));
        } else if (word == "rdblquote") {
            emitText(QString(QChar(0x201D)));
        }
    }

    const QByteArray& m_in;
    qsizetype m_pos = 0;
    std::vector<GroupState> m_groups;
    QString m_out;
    QByteArray m_bytes; // \'hh and raw high bytes waiting to be decoded together
    QString m_charset = QStringLiteral("windows-1252");
    int m_pendingSkip = 0;
};

} // namespace

bool RtfConverter::looksLikeRtf(const QByteArray& bytes) { return bytes.startsWith("{\\rtf"); }

QString RtfConverter::toPlainText(const QByteArray& rtf) {
    return Guard::run(
        "RTF could not be converted", [&] { return Converter(rtf).run(); }, QString());
}
