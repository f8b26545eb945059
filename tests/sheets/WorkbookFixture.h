#pragma once
// A private data home whose resource folder holds the built Template.xlsx, plus helpers to
// pack hand-written workbook parts and to read a written workbook's parts back.
#include "TestEnvironment.h"
#include "sheets/SpreadsheetWriter.h"

#include <QMap>
#include <QString>

#include <gtest/gtest.h>

class WorkbookTest : public ::testing::Test {
protected:
    void SetUp() override;

    QString path(const QString& name) const { return m_home.root() + QLatin1Char('/') + name; }

    // Packs the parts (entry name -> content) into a workbook named name; returns its path.
    QString packWorkbook(const QString& name, const QMap<QString, QByteArray>& parts) const;

    // A one-sheet workbook around the given sheetData content, shared strings and styles.
    QString sheetWorkbook(const QString& name, const QByteArray& sheetBody,
                          const QByteArray& sharedStrings = {}, const QByteArray& styles = {}) const;

    // Prepare, list sheets, header, full read of the first sheet: what the import windows do.
    SpreadsheetData importFirstSheet(const QString& workbook, SpreadsheetData* header = nullptr);

    TestDataHome m_home;
    SpreadsheetWriter spreadsheet;
};

// The streaming read of the current sheet gives the same cells as the table read of it.
void expectStreamedRowsMatch(SpreadsheetWriter& spreadsheet, const SpreadsheetData& table);

QByteArray sheetXml(const QByteArray& body, const QByteArray& dimension = "A1:C5");
QByteArray sharedStringsXml(const QStringList& strings);
