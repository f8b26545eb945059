#pragma once
// The Export button of both main windows: the recipient list, number and message per row,
// as UTF-8 text or a workbook.
class BulkSmsWindow;

// Asks for the file, writes it, offers to open it. Returns true when a file was written.
bool exportContactList(BulkSmsWindow& window);
