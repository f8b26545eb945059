#include "sim/AtParser.h"

#include <gtest/gtest.h>

namespace {

using Kind = sim::AtCommand::Kind;
using sim::AtParser::parse;

struct Expected {
    QString name;
    Kind kind;
    QString argument;
};

TEST(AtParser, SplitsLinesIntoCommands) {
    const struct {
        QString line;
        QList<Expected> commands;
    } cases[] = {
        {"AT", {}},
        {"at+cmgf=1", {{"+CMGF", Kind::Set, "1"}}},
        {"AT+CMGF?", {{"+CMGF", Kind::Read, ""}}},
        {"AT+CMGF=?", {{"+CMGF", Kind::Test, ""}}},
        {"AT+CGSN", {{"+CGSN", Kind::Action, ""}}},
        {"ATE0", {{"E", Kind::Action, "0"}}},
        {"ATE0V1Q0", {{"E", Kind::Action, "0"}, {"V", Kind::Action, "1"}, {"Q", Kind::Action, "0"}}},
        {"AT&F", {{"&F", Kind::Action, ""}}},
        {"ATZ", {{"Z", Kind::Action, ""}}},
        {"ATS7=60", {{"S7", Kind::Set, "60"}}},
        {"ATS3?", {{"S3", Kind::Read, ""}}},
        {"AT+CMGF=1;+CSCS=\"GSM\"", {{"+CMGF", Kind::Set, "1"}, {"+CSCS", Kind::Set, "\"GSM\""}}},
        {"AT+CSCA=\"+44;77\",145", {{"+CSCA", Kind::Set, "\"+44;77\",145"}}}, // ; inside quotes
        {"ATE1+CMEE=1", {{"E", Kind::Action, "1"}, {"+CMEE", Kind::Set, "1"}}},
        {"AT^SYSINFO", {{"^SYSINFO", Kind::Action, ""}}},
        {"  AT+CSQ  ", {{"+CSQ", Kind::Action, ""}}},
    };
    for (const auto& c : cases) {
        const sim::AtLine line = parse(c.line);
        ASSERT_TRUE(line.isCommand && line.syntaxOk) << c.line.toStdString();
        ASSERT_EQ(line.commands.size(), c.commands.size()) << c.line.toStdString();
        for (qsizetype i = 0; i < c.commands.size(); ++i) {
            EXPECT_EQ(line.commands.at(i).name, c.commands.at(i).name) << c.line.toStdString();
            EXPECT_EQ(line.commands.at(i).kind, c.commands.at(i).kind) << c.line.toStdString();
            EXPECT_EQ(line.commands.at(i).argument, c.commands.at(i).argument) << c.line.toStdString();
        }
    }
}

TEST(AtParser, LinesThatAreNotCommandsOrAreMalformed) {
    const struct {
        QString line;
        bool isCommand;
        bool syntaxOk;
    } cases[] = {
        {"OK", false, true},
        {"", false, true},
        {"A", false, true},
        {"> 0011", false, true},
        {"AT+CSCA=\"+4477", true, false}, // unclosed quote
        {"AT+", true, false},
        {"AT+CMGF=1 X", true, true}, // a value runs to ";" or the line end
        {"AT&", true, false},
        {"AT!", true, false},
    };
    for (const auto& c : cases) {
        const sim::AtLine line = parse(c.line);
        EXPECT_EQ(line.isCommand, c.isCommand) << c.line.toStdString();
        if (c.isCommand) {
            EXPECT_EQ(line.syntaxOk, c.syntaxOk) << c.line.toStdString();
        }
    }
}

TEST(AtParser, ParameterValuesDropQuotesButRememberThem) {
    const sim::AtCommand command = parse("AT+CMGS=\"+4477, 00\" , 145").commands.value(0);
    EXPECT_EQ(command.values(), (QStringList{"+4477, 00", "145"}));
    EXPECT_TRUE(command.quoted(0));
    EXPECT_FALSE(command.quoted(1));
    EXPECT_TRUE(parse("AT+CMGS=23").commands.value(0).values() == QStringList{"23"});
}

} // namespace
