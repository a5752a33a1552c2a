// The insertion pass: one block reference for each worksheet row.

#include <map>
#include <memory>
#include <unordered_set>

#include "arxutils/ArxUtils.h"
#include "attbat/authoring/ApplyDynamicProperties.h"
#include "attbat/authoring/BlockPasses.h"
#include "attbat/authoring/BurstBlockReference.h"
#include "attbat/authoring/FindOrImportBlock.h"
#include "attbat/authoring/PassSupport.h"
#include "attbat/links/ExcelLinkStore.h"
#include "base/Text.h"
#include "base/Path.h"
#include "cad/AttributeTemplate.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/geometry/Matrix3d.h"
#include "cad/geometry/TransformBy.h"
#include "host/Document.h"
#include "host/Printer.h"
#include "host/ProgressMeter.h"
#include "host/WorkingDatabase.h"
#include "tables/CellAddress.h"

namespace attbat {

namespace {


// The drawings rows go to: the open documents, and drawing files read once and saved once at the
// end. The one in hand stays from row to row until a row names another.
class TargetDrawings {
public:
    explicit TargetDrawings(bool dryRun) : dryRun_(dryRun) {
        saved_ = host::WorkingDatabase();
        inHand_ = saved_;
    }
    ~TargetDrawings() { host::SetWorkingDatabase(saved_ == CurrentDatabase() ? nullptr : saved_); }

    // Takes the drawing `path` names for this row ("" keeps the one in hand); false, said on the
    // command line, when it can't be had and the row is to be skipped.
    bool Choose(const std::string& path) {
        lock_.reset();
        pathGiven_ = !path.empty();
        if (path.empty()) return inHand_ != nullptr;
        const std::string full = base::FullPath(path);
        if (host::Document* doc = host::DocumentManager::Instance().Find(full)) {
            inHand_ = &doc->Database();
            if (doc != host::DocumentManager::Instance().CurDocument()) lock_ = std::make_unique<host::DocumentLock>(doc);
            host::SetWorkingDatabase(inHand_);
            return true;
        }
        if (auto side = sides_.find(full); side != sides_.end()) {
            inHand_ = side->second.get();
            return true;
        }
        if (!base::FileExists(full)) {
            host::Printf("\nCannot find %s.", path);
            return false;
        }
        auto read = host::ReadSideDatabase(full);
        if (!read) {
            host::Printf("\nCannot open %s. %s.", path, read.GetStatus().Message());
            inHand_ = host::WorkingDatabase();
            return false;
        }
        inHand_ = read->get();
        order_.push_back(full);
        sides_.emplace(full, std::move(*read));
        host::SetWorkingDatabase(inHand_);
        return true;
    }
    // The row is done: a document locked for it is let go.
    void EndRow() { lock_.reset(); }

    cad::Database* InHand() const { return inHand_; }
    bool IsCurrent() const { return inHand_ == CurrentDatabase(); }
    // True when this row's drawing came from a path (another document or a side file).
    bool PathGiven() const { return pathGiven_ && !IsCurrent(); }
    std::string InHandPath() const { return inHand_ ? inHand_->FileName() : std::string(); }

    // Each side drawing saved once, in the order first met, with its backup.
    void SaveSides(PassReport& report) {
        host::SetWorkingDatabase(saved_ == CurrentDatabase() ? nullptr : saved_);
        if (dryRun_) return;
        for (const std::string& path : order_) {
            const cad::Database& db = *sides_.at(path);
            if (!db.IsModified()) continue;
            if (base::Status saved = host::SaveSideDatabase(db, path); !saved) {
                host::Printf("\nFailed to save %s: %s.", path, saved.Message());
            } else {
                report.drawingsSaved.push_back(path);
            }
        }
    }

private:
    static cad::Database* CurrentDatabase() {
        host::Document* current = host::DocumentManager::Instance().CurDocument();
        return current ? &current->Database() : nullptr;
    }

    bool dryRun_;
    cad::Database* saved_ = nullptr;
    cad::Database* inHand_ = nullptr;
    bool pathGiven_ = false;
    std::unique_ptr<host::DocumentLock> lock_;
    std::map<std::string, std::unique_ptr<cad::Database>> sides_;
    std::vector<std::string> order_;
};

// wcstod: the number the text starts with, 0 when none.
double LeadingNumber(const std::string& text) { return std::strtod(text.c_str(), nullptr); }

// The attributes a new reference of a block gets: one from each non-constant definition, made
// once for all the rows of the block.
class AttributeTemplates {
public:
    const std::vector<cad::AttributeTemplate>& Of(const cad::BlockRecord& block) {
        auto key = std::make_pair(block.Record().GetDatabase(), block.Index());
        auto found = templates_.find(key);
        if (found != templates_.end()) return found->second;
        std::vector<cad::AttributeTemplate> made;
        for (const cad::AttributeDefinition& def : block.AttributeDefinitions())
            if (!def.IsConstant()) made.emplace_back(def);
        return templates_.emplace(key, std::move(made)).first->second;
    }

private:
    std::map<std::pair<cad::Database*, std::uint32_t>, std::vector<cad::AttributeTemplate>> templates_;
};

// A reference of `block` at `position` and `scale` in `space`, with the attributes `templates`
// placed by the reference's transform.
cad::BlockReference NewReference(cad::BlockRecord& space, const cad::BlockRecord& block,
                                 const std::vector<cad::AttributeTemplate>& templates, cad::Point3 position,
                                 cad::Point3 scale, std::string& error) {
    cad::Database& db = *space.Record().GetDatabase();
    const cad::Point3 base = block.BasePoint();
    // Unscaled, the attributes only move with the position; otherwise the reference is made at
    // the block's base point, where its transform is the identity, and one transform then places
    // it with its attributes.
    const bool unscaled = scale == cad::Point3{1, 1, 1};
    const cad::Point3 at = unscaled ? position : base;
    auto made = space.AppendEntity("INSERT", db.HeaderText("$CLAYER", "0"),
                                   {{100, "AcDbBlockReference"}, {2, block.Name()}, cad::RealTag(10, at.x),
                                    cad::RealTag(20, at.y), cad::RealTag(30, at.z)});
    if (!made) {
        error = made.GetStatus().Message();
        return cad::BlockReference();
    }
    cad::BlockReference reference(made->GetDatabase(), made->Index());
    const cad::Point3 offset = unscaled ? cad::Point3{position.x - base.x, position.y - base.y, position.z - base.z}
                                        : cad::Point3{0, 0, 0};
    for (const cad::AttributeTemplate& attribute : templates) attribute.AppendTo(reference, offset);
    if (!unscaled && !templates.empty()) {
        cad::Matrix3d m = cad::Matrix3d::Translation(position) * cad::Matrix3d::Scaling(scale) *
                          cad::Matrix3d::Translation({-base.x, -base.y, -base.z});
        cad::TransformBy(reference, m);
    }
    // Its own values are set exactly, whatever the transform's arithmetic gave.
    reference.SetPosition(position);
    reference.SetScaleFactors(scale);
    return reference;
}

}  // namespace

void InsertBlocksFromRows(const tables::CStringTable& table, const CInsertBlocksOpt& options,
                          const std::string& selectedRows, const PassSettings& settings, PassReport& report) {
    if (table.IsEmpty()) return;
    RowReader rows(table, options);
    if (!rows.CheckBlockNameColumn()) return;
    const InsertHeaders& h = rows.Headers();
    std::vector<int> rowList;
    tables::ParseRowList(selectedRows, rowList);
    const std::unordered_set<int> wanted(rowList.begin(), rowList.end());
    if (rows.FirstRow() < 1) host::Printf("\nError: failed to get the min row from the data table.");
    TargetDrawings drawings(settings.dryRun);
    AttributeTemplates templates;
    BlockImporter importer(options.blockLibraryDwg, settings.searchPath);
    host::ProgressMeter meter("Inserting blocks...", table.GetSize());
    std::string cell;
    for (int i = 0; i < table.GetSize() && !host::ProgressMeter::Cancelled(); ++i, meter.Step()) {
        if (!wanted.empty() && !wanted.count(i + 1)) continue;
        if (options.tagMode == 0 && i == options.tagHeaderRow - rows.FirstRow()) continue;
        bool burst = options.blockBurst != 0;
        if (options.blockBurst && options.useBurstColumn && rows.Cell(i, options.burstColumn, cell)) {
            const std::string flag = base::Trim(cell);
            burst = base::EqualNoCase(flag, "True") || base::EqualNoCase(flag, "Yes");
        }
        std::string path;
        rows.Cell(i, options.drawingPathColumn, path);
        if (!drawings.Choose(path)) {
            ++report.rowsFailed;
            continue;
        }
        cad::Database& db = *drawings.InHand();
        const std::string blockName = rows.BlockName(i);
        if (blockName.empty()) {
            host::Printf("\nThe block name in the cell %s is empty.",
                         tables::AbsoluteCell(rows.FirstRow() + i, options.blockNameColumn));
            ++report.rowsFailed;
            drawings.EndRow();
            continue;
        }
        cad::BlockRecord block = importer.FindOrImportBlock(blockName, db);
        if (!block) {
            if (drawings.PathGiven()) host::Printf("\nCannot find block %s in %s.", blockName, path);
            else host::Printf("\nCannot find block %s.", blockName);
            ++report.rowsFailed;
            drawings.EndRow();
            continue;
        }
        cad::Point3 position{0, 0, 0};
        double* coordinates[] = {&position.x, &position.y, &position.z};
        const std::string* positionHeaders[] = {&h.posX, &h.posY, &h.posZ};
        for (int k = 0; k < 3; ++k) {
            if (rows.Value(i, *positionHeaders[k], cell)) *coordinates[k] = arxutils::TextToDistance(&db, cell, -1);
        }
        cad::Point3 scale{1, 1, 1};
        double* factors[] = {&scale.x, &scale.y, &scale.z};
        const std::string* scaleHeaders[] = {&h.scaleX, &h.scaleY, &h.scaleZ};
        for (int k = 0; k < 3; ++k) {
            if (rows.Value(i, *scaleHeaders[k], cell)) *factors[k] = LeadingNumber(cell);
        }
        if (scale.x == 0 || scale.y == 0 || scale.z == 0) {
            // The host refuses a zero scale factor (an empty or unreadable cell reads as 0) and
            // the reference keeps its own.
            host::Printf("\nInvalid scale factors %g,%g,%g of the block %s; it keeps 1,1,1.", scale.x, scale.y, scale.z,
                         blockName);
            scale = {1, 1, 1};
        }
        cad::BlockRecord space = CurrentSpace(db);
        std::string error;
        cad::BlockReference reference = NewReference(space, block, templates.Of(block), position, scale, error);
        if (!reference) {
            host::Printf("\nCannot insert the block %s. %s", blockName, error);
            ++report.rowsFailed;
            drawings.EndRow();
            continue;
        }
        ApplyDynamicProperties(reference, table, options, i, false);
        if (rows.Value(i, h.layer, cell) && !reference.SetLayer(cell)) host::Printf("\nCannot find the layer %s.", cell);
        for (cad::Attribute& attribute : reference.Attributes()) {
            if (rows.Value(i, attribute.Tag(), cell)) attribute.SetValue(cell);
        }
        if (burst) {
            // A block without attribute definitions isn't burst; it stays, without a row link.
            if (BurstBlockReference(reference)) ++report.burst;
            else ++report.inserted;
        } else {
            SetXDataString(reference, kRowLinkApp,
                           RowLinkText(options.workbookPath, options.worksheetName, rows.FirstRow() + i), false);
            ++report.inserted;
            if (drawings.IsCurrent() && options.insertionPointOnScreen && settings.insertionPoint) {
                const cad::Point3 at = *settings.insertionPoint, from = reference.Position();
                cad::TransformBy(reference, cad::Matrix3d::Translation({at.x - from.x, at.y - from.y, at.z - from.z}));
            }
        }
        if (drawings.IsCurrent()) host::PrintfOnceSaved("\nInsert block %s successfully.", blockName);
        else host::PrintfOnceSaved("\nInsert block %s to %s successfully.", blockName, drawings.InHandPath());
        drawings.EndRow();
    }
    drawings.SaveSides(report);
}

}  // namespace attbat
