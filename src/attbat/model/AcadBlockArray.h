#pragma once
// What was read from one or more drawings: blocks with their columns and rows, and the layers
// the row filter lets pass.
#include <string>
#include <string_view>
#include <vector>

#include "attbat/model/AcadAttDefTagArray.h"
#include "attbat/model/AcadBlock.h"
#include "tables/Array.h"
#include "tables/CStringArrayEx.h"

namespace attbat {

class AcadBlockView;

class AcadBlockArray : public tables::Array<AcadBlock> {
public:
    // Drops an anonymous block whose name still holds "*". A block with rows goes before the
    // first block with rows whose first row lies lower; any other block goes to the end.
    // Returns the index, or -1 when dropped.
    int AddSorted(AcadBlock block);
    // AddSorted of each block in turn, in time n log n for all of them; gives each one's index
    // in the array afterwards (-1 when dropped).
    std::vector<int> AddAllSorted(std::vector<AcadBlock> added);
    // First normal block (not anonymous, layout or unloaded) named `name` without regard to
    // case; an empty name matches the first normal block. Null when none.
    AcadBlock* FindByName(std::string_view name);
    // Every block FindByName would accept, in order; the pointers live until the array changes.
    void FindAllByName(std::string_view name, std::vector<AcadBlock*>& out);
    // Each distinct name (without regard to case) of the normal blocks, in order; with
    // `onlyWithRefs` only blocks that have rows.
    void NamesWithRefs(tables::CStringArrayEx& out, bool onlyWithRefs) const;
    // Distinct layer names of all rows (without regard to case), in order of first sight.
    void AllLayerNames(tables::CStringArrayEx& out) const;
    // Distinct definition tags (case counts) of the blocks named in `names` (without case), or of
    // all blocks with `all`; properties only with `withProperties`.
    void AllTags(tables::CStringArrayEx& out, const tables::CStringArrayEx& names, bool all,
                 bool withProperties) const;
    // The same as tags with their dupIndex, distinct by both.
    void AllDefTags(AcadAttDefTagArray& out, const tables::CStringArrayEx& names, bool all,
                    bool withProperties) const;
    // The same as column names ("%s_Dup(%d)" from dupIndex 1), then every attribute name found
    // on the rows of those blocks that isn't there yet.
    void AllColumnNames(tables::CStringArrayEx& out, const tables::CStringArrayEx& names, bool all,
                        bool withProperties) const;
    // Distinct values (case counts) of `tag` (case counts) over the rows of the blocks named
    // `blockName` (without case).
    void ValuesOfTag(std::string_view blockName, std::string_view tag, tables::CStringArrayEx& out) const;
    // An empty tag counts the rows of the blocks named `blockName`, on any layer; otherwise the
    // attributes of that tag whose value equals `value` exactly, on rows of layer `layer`
    // (without regard to case; "*All*" or empty: any layer). `excludeCurrentDrawing` passes over blocks whose drawing is empty
    // or equals `currentFile` without regard to case.
    int CountValue(std::string_view blockName, std::string_view layer, std::string_view tag,
                   std::string_view value, bool excludeCurrentDrawing,
                   std::string_view currentFile) const;
    // Removes every block read from `path` (without regard to case).
    void RemoveFile(std::string_view path);
    // Puts in `out` those of `tags` that hold no non-empty value on any row of the blocks named
    // in `blockNames` (without regard to case).
    void RemoveMissingTags(const tables::CStringArrayEx& blockNames, const AcadAttDefTagArray& tags,
                           AcadAttDefTagArray& out) const;
    // With header style 0, fills view.columns with the names of the columns that are on, over
    // the selected and listed blocks, first seen first, then sorts them by the view's column sort
    // (2 leaves them). With header style 1 it leaves the view alone.
    void BuildColumns(AcadBlockView& view) const;

    tables::CStringArrayEx layers;  // layer names the row filter lets pass; empty passes every layer
};

}  // namespace attbat
