#pragma once
// The "Attributes" dialog of the attribute page's "..." button, without its window: one row
// per tag of the ticked blocks, ticked when the tag is shown, and the two check boxes that
// narrow the list. Its OK decides which tags the schedule leaves out.

#include <string>
#include <string_view>
#include <vector>

#include "attbat/frame/Control.h"
#include "attbat/model/AcadAttDefTagArray.h"

namespace tables {
class CStringArrayEx;
}

namespace attbat {

class AcadBlockArray;
class AcadBlockView;
class CScheduleDialog;
class SettingsStore;

// The tags that the blocks named in `names` offer, properties left out, into `allTags`
// (distinct by tag and dupIndex, first seen first); those of them without a non-empty value on
// any reference of those blocks into `noValueTags`. Nothing is added for an empty `names`.
void CollectTickedTags(const AcadBlockArray& blocks, const tables::CStringArrayEx& names,
                       AcadAttDefTagArray& allTags, AcadAttDefTagArray& noValueTags);

class CSelectAttributeDialog {
public:
    // One row of the check list: the tag it stands for, its text and its tick.
    struct ListRow {
        AcadAttDefTag tag;
        std::string text;  // the tag's display name: the tag, or "%s_Dup(%d)" for a later one
        bool checked = false;
    };

    static constexpr std::string_view title = "Attributes";
    // The check boxes' labels, which the command line's messages quote.
    static constexpr std::string_view removeNoValueLabel = "Remove attributes with no value.";
    static constexpr std::string_view dynamicPropertiesLabel = "Dynamic Properties";
    // The dialog's controls: its two boxes, Clear All, and the ticks of the tag list.
    static const std::vector<Control>& Controls();

    // Opened from the wizard's attribute page: the tags of its ticked blocks in the active
    // collection (none without a collection) over the wizard's view and settings.
    explicit CSelectAttributeDialog(CScheduleDialog& wizard);
    // Given its lists: `view` and `store` outlive the dialog; `allTags` in list order.
    CSelectAttributeDialog(AcadBlockView& view, SettingsStore& store, AcadAttDefTagArray allTags,
                           AcadAttDefTagArray noValueTags);

    // The check boxes show the view's two fields; then Fill.
    void OnInitDialog();
    // Takes the check boxes into the view and rebuilds the list from the full tag list: a tag
    // without a value is left out under "Remove attributes with no value.", a dynamic property
    // without "Dynamic Properties"; a row is ticked unless the view lists its tag as unticked.
    void Fill();
    // A click on "Remove attributes with no value.": the new state, then Fill.
    void SetRemoveNoValue(bool on);
    // A click on "Dynamic Properties": the new state, then Fill.
    void SetDynamicProperties(bool on);
    // "Clear All": unticks every row.
    void ClearAll();
    // Ticks or unticks the rows whose text is `tag`, case counting; when none is, the rows
    // whose text matches `tag` as a wildcard without regard to case. The number of rows hit.
    int Tick(std::string_view tag, bool checked);
    // "OK": the view's unticked tags become exactly those of the unticked rows, so a tag that
    // isn't listed now is forgotten; stores UnSelNoValueAtts and SelectDynProperties.
    void OnOK();
    // "Cancel": stores nothing and leaves the unticked tags; the check boxes stay in the view,
    // where Fill put them.
    void OnCancel() {}

    std::vector<ListRow> m_tagList;  // the check list box
    int m_removeNoValue = 1;         // "Remove attributes with no value."
    int m_dynamicProperties = 1;     // "Dynamic Properties"

    // The lists the dialog was given.
    const AcadAttDefTagArray& AllTags() const { return allTags_; }
    const AcadAttDefTagArray& NoValueTags() const { return noValueTags_; }

private:
    AcadBlockView& view_;
    SettingsStore& store_;
    AcadAttDefTagArray allTags_;
    AcadAttDefTagArray noValueTags_;
};

}  // namespace attbat
