#pragma once
// A spreadsheet workbook (.xlsx, .xlsm) read from and saved to its zip package. Parts are read
// when first used; a save writes the changed parts and copies every other part as it was.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"
#include "xl/Package.h"
#include "xl/Worksheet.h"

namespace pugi {
class xml_document;
class xml_node;
}

namespace xl {

class SharedStrings;
class Styles;

struct SaveOptions {
    // When not empty and the target exists, the old file is kept under this name.
    std::string backupPath;
};

class Workbook {
public:
    ~Workbook();

    // Opens a workbook file; the error names the file and what is wrong with it. A process that
    // ends with its command (base::EndsWithCommand) opens it as OpenMapped does; one that runs
    // on holds a copy, which no other program's writes can reach.
    static base::Result<std::unique_ptr<Workbook>> Open(const std::string& path);
    // Opens a workbook file through a map of it: a part is held while it is read, the rest stays
    // in the system's cache. Once another program changed the file meanwhile, its parts are
    // neither read nor saved from it; a file cut short meanwhile stops the process with a line
    // that says so (base::MappedFile).
    static base::Result<std::unique_ptr<Workbook>> OpenMapped(const std::string& path);
    // Opens a workbook from the bytes of a file; `label` names it in messages.
    static base::Result<std::unique_ptr<Workbook>> OpenImage(std::string image, std::string_view label);
    // A new workbook with one empty sheet, "Sheet1".
    static std::unique_ptr<Workbook> Create();

    // Writes the workbook to `path` through a temporary file. Refused while another program
    // holds the file open (a `.~lock.NAME#` or `~$NAME` file beside it).
    base::Status Save(const std::string& path, const SaveOptions& options = {});
    // The package as it would be saved.
    base::Result<std::string> SaveImage();
    // The file the workbook was opened from or last saved to; "" for a new one.
    const std::string& Path() const { return path_; }

    // Sheets in tab order (worksheets, chart sheets and the others).
    int SheetCount() const { return static_cast<int>(sheets_.size()); }
    // The sheet at a 0-based position; nullptr outside.
    Worksheet* Sheet(int index);
    // Gives back the memory of every unchanged sheet (see Worksheet::Unload); gives how many.
    int UnloadUnchangedSheets();
    // The sheet of that name, matched without regard to case; nullptr when none.
    Worksheet* FindSheet(std::string_view name);
    // Position of a sheet; -1 for a sheet of another workbook.
    int IndexOf(const Worksheet* sheet) const;
    // The active (selected) sheet's position.
    int ActiveSheetIndex() const { return active_; }
    // Makes a sheet the active one, showing it when hidden; the active sheet again changes nothing.
    void Activate(int index);
    // Adds a worksheet at `position` (0-based; -1 for after the last) named `name`, or the next
    // free default name ("Sheet4") when `name` is empty. Fails on an invalid or taken name.
    base::Result<Worksheet*> AddSheet(std::string_view name = "", int position = -1);
    // Renames a sheet; the name rules of spreadsheet programs apply (see CheckSheetName) and
    // formulas and defined names that name the sheet follow.
    base::Status RenameSheet(Worksheet& sheet, std::string_view name);
    // Why a text can't be a sheet name: empty, over 31 characters, one of : \ / ? * [ ],
    // an apostrophe at either end, or "History". Ok when it can.
    static base::Status CheckSheetName(std::string_view name);

    // A built-in document property by its spreadsheet name ("Title", "Author", "Last Author",
    // "Creation Date", "Last Save Time", "Application Name", "Company"...); "" when unset.
    std::string DocumentProperty(std::string_view name);
    // Sets a text property of the core or extended properties; false for unknown names.
    bool SetDocumentProperty(std::string_view name, std::string_view value);
    // Asks the spreadsheet program to recalculate formulas when it opens the file.
    void SetRecalculateOnOpen(bool on);
    // True when dates count from 1904 (old Mac files).
    bool Date1904() const { return date1904_; }
    // The default font of the workbook's cells (the Normal style's): its name and its size in
    // points, which set the widths of columns and the heights of rows.
    std::string DefaultFontName();
    double DefaultFontSize();
    // The widest digit of the default font in whole pixels at 96 dpi: a column width counts
    // characters of it. 7, Calibri 11's and Arial 10's, until the caller measures the real
    // font; a width below 1 pixel is refused.
    double DigitWidth() const { return digitWidth_; }
    base::Status SetDigitWidth(double pixels);
    // The package itself, for diagnostics.
    Package& GetPackage() { return package_; }

private:
    friend class Worksheet;
    Workbook();
    // Opens a workbook file from a copy of its bytes.
    static base::Result<std::unique_ptr<Workbook>> OpenCopied(const std::string& path);
    // The workbook of a package just opened, read from `path` (empty for an image).
    static base::Result<std::unique_ptr<Workbook>> FromPackage(base::Result<Package> pkg,
                                                               std::string path);
    base::Status Init();
    // Puts what changed into the package. With `letGo` each sheet written gives back its cells
    // and notes at once, and reads them from its new parts if asked again.
    base::Status WriteChangedParts(bool letGo = false);
    // Reads the shared-string table once; the error names its part and what is wrong with it.
    // A workbook without one is Ok, with an empty table that a save adds when strings were added.
    base::Status LoadStrings();
    // True when the workbook has a shared-string part and it was read.
    bool HasStringsPart() const { return strings_ && !stringsPart_.empty() && stringsStatus_; }
    // The table; empty when it is absent or could not be read (LoadStrings says which).
    SharedStrings& Strings();
    Styles& GetStyles();
    void TouchWorkbook() { workbookChanged_ = true; }
    pugi::xml_node SheetNode(const Worksheet& sheet);

    std::string path_;
    Package package_;
    std::string workbookPart_;
    std::unique_ptr<pugi::xml_document> workbookXml_;
    std::vector<std::unique_ptr<Worksheet>> sheets_;
    std::unique_ptr<SharedStrings> strings_;
    std::string stringsPart_;  // "" when the workbook has none
    base::Status stringsStatus_;
    std::unique_ptr<Styles> styles_;
    bool workbookChanged_ = false;
    bool date1904_ = false;
    int active_ = 0;
    double digitWidth_ = 7;
};

}  // namespace xl
