#pragma once
// Text entities: TEXT, the attributes (ATTRIB) and attribute definitions (ATTDEF) built on it,
// and MTEXT. Angles are in radians, as AutoCAD's API has them; the file keeps degrees.

#include <string>

#include "cad/Entity.h"

namespace cad {

// A TEXT entity, and the text part of attributes and attribute definitions.
class Text : public Entity {
public:
    using Entity::Entity;

    // The text (1) in UTF-8, escapes resolved; formatting codes (%%d...) are kept.
    std::string TextString() const { return GetText(1); }
    // Sets the text; an equal text writes nothing.
    void SetTextString(std::string_view text);
    // The insertion point (10).
    Point3 Position() const { return GetPoint(10); }
    void SetPosition(Point3 p) { SetPoint(10, p, "AcDbText"); }
    // The alignment point (11); the insertion point when the text has none.
    Point3 AlignmentPoint() const { return GetPoint(11, Position()); }
    void SetAlignmentPoint(Point3 p) { SetPoint(11, p, "AcDbText"); }
    // The height (40); 0 when missing.
    double Height() const { return GetReal(40, 0); }
    void SetHeight(double height) { SetReal(40, height, "AcDbText"); }
    // The rotation in radians (50 holds degrees); 0 when missing.
    double Rotation() const;
    void SetRotation(double radians);
    // The text style name (7); "STANDARD" when missing.
    std::string StyleName() const { return GetText(7, "STANDARD"); }
    void SetStyleName(std::string_view style) { SetText(7, style, "AcDbText"); }
    // The horizontal justification (72): 0 left, 1 centre, 2 right, 3 aligned, 4 middle, 5 fit.
    int HorizontalMode() const { return static_cast<int>(GetInt(72, 0)); }
    void SetHorizontalMode(int mode) { SetInt(72, mode, "AcDbText"); }
    // The vertical justification: 0 baseline, 1 bottom, 2 middle, 3 top (73 on TEXT, 74 on
    // attributes and definitions, where 73 is the field length).
    int VerticalMode() const { return static_cast<int>(GetInt(VerticalCode(), 0)); }
    void SetVerticalMode(int mode);
    // True when the text is placed by its alignment point rather than its insertion point.
    bool UsesAlignmentPoint() const { return HorizontalMode() != 0 || VerticalMode() != 0; }

protected:
    int VerticalCode() const;
};

// What ATTRIB and ATTDEF share beyond the text: a tag, flags and a multi-line form.
class AttributeBase : public Text {
public:
    using Text::Text;

    // The tag (2), as written; AutoCAD keeps tags upper case but files may not.
    std::string Tag() const { return GetText(2); }
    void SetTag(std::string_view tag) { SetText(2, tag, SubclassName()); }
    // Attribute flags (70).
    int Flags() const { return static_cast<int>(GetInt(70, 0)); }
    bool IsInvisible() const { return (Flags() & 1) != 0; }
    bool IsConstant() const { return (Flags() & 2) != 0; }
    bool IsVerifiable() const { return (Flags() & 4) != 0; }
    bool IsPreset() const { return (Flags() & 8) != 0; }
    void SetInvisible(bool on) { SetFlag(1, on); }
    // True for a multi-line attribute: one with an embedded MTEXT (AutoCAD 2008 and later).
    bool IsMTextAttribute() const;
    // The MTEXT contents of a multi-line attribute, with formatting codes; "" otherwise.
    std::string MTextContents() const;
    // The value without formatting codes: the MTEXT's plain text for multi-line attributes
    // (paragraphs joined by "\n"), the text otherwise.
    std::string PlainText() const;
    // Sets the value; a multi-line attribute gets it as its MTEXT contents as well, with line
    // breaks written as paragraph codes.
    void SetValue(std::string_view text);

protected:
    std::string SubclassName() const;
    void SetFlag(int bit, bool on);
};

// An ATTRIB: the value of one attribute of a block reference.
class Attribute : public AttributeBase {
public:
    using AttributeBase::AttributeBase;
};

// An ATTDEF: an attribute definition inside a block.
class AttributeDefinition : public AttributeBase {
public:
    using AttributeBase::AttributeBase;

    // The prompt (3); "" when missing.
    std::string Prompt() const { return GetText(3); }
    void SetPrompt(std::string_view prompt) { SetText(3, prompt, "AcDbAttributeDefinition"); }
    // The default value is the text (1).
    std::string DefaultValue() const { return TextString(); }
};

// An MTEXT entity.
class MText : public Entity {
public:
    using Entity::Entity;

    // The contents with formatting codes: the 3 chunks followed by the 1 tag.
    std::string Contents() const;
    // Sets the contents, split into chunks of 250 bytes as AutoCAD writes them.
    void SetContents(std::string_view contents);
    // The contents without formatting codes; paragraphs joined by "\n".
    std::string PlainText() const;
    // The insertion point (10).
    Point3 Position() const { return GetPoint(10); }
    void SetPosition(Point3 p) { SetPoint(10, p, "AcDbMText"); }
    // The character height (40).
    double Height() const { return GetReal(40, 0); }
    // The reference width (41); 0 for no wrapping.
    double Width() const { return GetReal(41, 0); }
    // The attachment point (71): 1 top left ... 9 bottom right.
    int Attachment() const { return static_cast<int>(GetInt(71, 1)); }
    // The text style name (7); "STANDARD" when missing.
    std::string StyleName() const { return GetText(7, "STANDARD"); }
};

// The text of MTEXT contents without formatting codes: \P and ^J become "\n", stacked
// fractions read "1/2", font, colour, height and other switches and grouping braces go.
std::string MTextPlainText(std::string_view contents);

// Splits MTEXT contents into the 3 chunks and the final 1 tag as AutoCAD writes them (250
// bytes each, never cutting a UTF-8 sequence).
TagList MTextContentTags(std::string_view contents);

}  // namespace cad
