#pragma once
// Where the column import hands values when it does not fill a recipient list: the
// exclusion list being edited ("EX") and the template store ("TEMP"). Those windows
// implement these and give them to the import before opening it.
#include <QString>

class ExclusionImportTarget {
public:
    virtual ~ExclusionImportTarget() = default;
    virtual void chk_and_insert_validation(const QString& value) = 0;
};

class TemplateImportTarget {
public:
    virtual ~TemplateImportTarget() = default;
    virtual bool Check_Duplicate_Template(const QString& text) = 0;
    virtual void Create_Template_List(const QString& text) = 0;
};
