#include "AtParser.h"

namespace sim {
namespace {

bool isNameCharacter(QChar c) {
    return c.isLetterOrNumber() || c == u'!' || c == u'%' || c == u'-' || c == u'.' || c == u'/' ||
           c == u':' || c == u'_';
}

QString unquote(const QString& value) {
    if (value.size() >= 2 && value.startsWith(u'"') && value.endsWith(u'"'))
        return value.mid(1, value.size() - 2);
    return value;
}

// Reads an extended command starting at `pos` (on its prefix character).
bool readExtended(const QString& line, qsizetype& pos, AtCommand& command) {
    const qsizetype start = pos++;
    while (pos < line.size() && isNameCharacter(line.at(pos)))
        ++pos;
    command.name = line.mid(start, pos - start).toUpper();
    if (command.name.size() < 2)
        return false;
    if (line.mid(pos, 2) == u"=?") {
        command.kind = AtCommand::Kind::Test;
        pos += 2;
    } else if (pos < line.size() && line.at(pos) == u'?') {
        command.kind = AtCommand::Kind::Read;
        ++pos;
    } else if (pos < line.size() && line.at(pos) == u'=') {
        command.kind = AtCommand::Kind::Set;
        const qsizetype valueStart = ++pos;
        bool inQuotes = false;
        while (pos < line.size() && (inQuotes || line.at(pos) != u';')) {
            if (line.at(pos) == u'"')
                inQuotes = !inQuotes;
            ++pos;
        }
        if (inQuotes)
            return false;
        command.argument = line.mid(valueStart, pos - valueStart).trimmed();
    }
    while (pos < line.size() && line.at(pos) == u' ')
        ++pos;
    if (pos < line.size()) {
        if (line.at(pos) != u';')
            return false;
        ++pos;
    }
    return true;
}

// Reads a basic command ("E1", "&F", "S7=60", "S0?", "D...") starting at `pos`.
bool readBasic(const QString& line, qsizetype& pos, AtCommand& command) {
    QString name;
    if (line.at(pos) == u'&') {
        if (pos + 1 >= line.size() || !line.at(pos + 1).isLetter())
            return false;
        name = line.mid(pos, 2).toUpper();
        pos += 2;
    } else {
        name = line.at(pos).toUpper();
        ++pos;
    }
    if (name == u"D") { // dialling takes the rest of the line
        command.name = name;
        command.argument = line.mid(pos);
        pos = line.size();
        return true;
    }
    if (name == u"S") {
        const qsizetype digitsStart = pos;
        while (pos < line.size() && line.at(pos).isDigit())
            ++pos;
        if (pos == digitsStart)
            return false;
        name += line.mid(digitsStart, pos - digitsStart);
        if (pos < line.size() && line.at(pos) == u'?') {
            command.kind = AtCommand::Kind::Read;
            ++pos;
        } else if (pos < line.size() && line.at(pos) == u'=') {
            command.kind = AtCommand::Kind::Set;
            const qsizetype valueStart = ++pos;
            while (pos < line.size() && line.at(pos).isDigit())
                ++pos;
            command.argument = line.mid(valueStart, pos - valueStart);
        }
        command.name = name;
        return true;
    }
    const qsizetype digitsStart = pos;
    while (pos < line.size() && line.at(pos).isDigit())
        ++pos;
    command.name = name;
    command.argument = line.mid(digitsStart, pos - digitsStart);
    if (pos < line.size() && line.at(pos) == u'?') {
        command.kind = AtCommand::Kind::Read;
        ++pos;
    }
    return true;
}

} // namespace

QStringList AtCommand::values() const {
    QStringList result;
    for (const QString& piece : AtParser::splitParameters(argument))
        result.append(unquote(piece));
    return result;
}

bool AtCommand::quoted(int index) const {
    const QString piece = AtParser::splitParameters(argument).value(index);
    return piece.size() >= 2 && piece.startsWith(u'"') && piece.endsWith(u'"');
}

namespace AtParser {

QStringList splitParameters(const QString& argument) {
    QStringList pieces;
    if (argument.trimmed().isEmpty())
        return pieces;
    QString current;
    bool inQuotes = false;
    for (const QChar c : argument) {
        if (c == u'"')
            inQuotes = !inQuotes;
        if (c == u',' && !inQuotes) {
            pieces.append(current.trimmed());
            current.clear();
        } else {
            current.append(c);
        }
    }
    pieces.append(current.trimmed());
    return pieces;
}

AtLine parse(const QString& rawLine) {
    AtLine result;
    const QString line = rawLine.trimmed();
    if (line.size() < 2 || line.left(2).compare(u"AT", Qt::CaseInsensitive) != 0)
        return result;
    result.isCommand = true;
    qsizetype pos = 2;
    while (pos < line.size()) {
        const QChar c = line.at(pos);
        if (c == u' ' || c == u';') {
            ++pos;
            continue;
        }
        AtCommand command;
        bool ok = false;
        if (c == u'+' || c == u'^' || c == u'$' || c == u'%' || c == u'*' || c == u'#')
            ok = readExtended(line, pos, command);
        else if (c.isLetter() || c == u'&')
            ok = readBasic(line, pos, command);
        if (!ok) {
            result.syntaxOk = false;
            return result;
        }
        result.commands.append(command);
    }
    return result;
}

} // namespace AtParser
} // namespace sim
