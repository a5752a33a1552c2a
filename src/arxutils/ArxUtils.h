#pragma once
// The drawing helpers the system uses over the drawing library: number texts by the drawing's
// units, handles, owner and layer names, layer states, attribute definitions, symbol lookups,
// extended data, adding to a space, field codes and Unicode escapes. Failures print the
// system's lines on the command line and give an empty or false answer; nothing throws.
#include <string>
#include <string_view>
#include <vector>

#include "cad/BlockRecord.h"
#include "cad/Database.h"
#include "cad/Entity.h"
#include "cad/SymbolRecord.h"
#include "cad/Text.h"

namespace arxutils {

// ---- Numbers and text (acdbRToS, acdbAngToS, acdbDisToF, acdbAngToF)

// `value` in `db`'s units; units and precision -1 take the drawing's setting. "" when refused
// (NaN, a mode or precision out of range). A null `db` uses a new drawing's settings.
std::string DistanceText(const cad::Database* db, double value, int units = -1, int precision = -1);
// The angle text of `value` radians; the same rules as DistanceText.
std::string AngleText(const cad::Database* db, double value, int units = -1, int precision = -1);
// The distance `text` means; on failure prints "Failed to convert the distance: %d" and gives 0.
double TextToDistance(const cad::Database* db, std::string_view text, int units = -1);
// The distance `text` means into `value`; false (nothing printed, `value` kept) when unreadable.
bool TryTextToDistance(const cad::Database* db, std::string_view text, int units, double& value);
// The angle `text` means into `value` (radians); false when unreadable, `value` kept.
bool TryTextToAngle(const cad::Database* db, std::string_view text, int units, double& value);
// True when the two reals are at most 1e-6 apart.
bool NearlyEqual(double a, double b);

// ---- Objects

// The object of a handle text in `db`; a null view for an empty, malformed or unknown handle
// and for an erased object.
cad::Object HandleToId(cad::Database& db, std::string_view handleText);
// The name of the block record with handle `owner`; "" when there is none.
std::string OwnerNameOf(cad::Database& db, cad::Handle owner);
// The name of the entity's layer; "0" when the entity names none.
std::string LayerNameOf(const cad::Entity& entity);

// The states of a layer a row's filter needs.
struct LayerState {
    bool frozen = false;
    bool off = false;
    bool locked = false;
};
// The state of layer `name` in `db`; false (the state left clear) when the drawing has no such
// layer.
bool ReadLayerState(std::string_view name, LayerState& state, cad::Database& db);
// The attribute definitions of a block in the order the block holds them; empty for a null block.
std::vector<cad::AttributeDefinition> AttDefIdsOf(const cad::BlockRecord& block);
// The record `name` of the symbol table `table` ("LAYER", "BLOCK_RECORD"...), without regard
// to case; a null view when there is none.
cad::SymbolRecord NamedObjectId(std::string_view table, std::string_view name, cad::Database& db);

// ---- Extended data

// Stores `text` as a 1000 string under `appName`, registering the application. With data there
// already: `append` false replaces it; `append` true adds the text as a further 1000 string
// unless one equals it without regard to case. False for a null entity or an empty name; an
// erased entity prints "acdbOpenEntity failed in setXdata function".
bool SetXdata(cad::Object entity, std::string_view appName, std::string_view text, bool append);
// The 1000 strings stored under `appName`, in order; empty when there are none.
std::vector<std::string> GetXdata(const cad::Object& entity, std::string_view appName);
// Removes the data of `appName`; false for a null name or entity, an erased entity prints
// "acdbOpenEntity failed in deleteXdata function".
bool DeleteXdata(cad::Object entity, std::string_view appName);

// ---- Spaces

// The block record of the current space: model space while $TILEMODE is 1 (or missing), the
// active paper space otherwise.
cad::BlockRecord CurrentSpace(cad::Database& db);
// Appends a new entity of `type` with `data` to the current space of `db`; prints
// "\nERROR: could not add entity to current space" and gives a null view on failure.
cad::Entity AddToSpace(cad::Database& db, std::string_view type, std::string_view layer,
                       const cad::TagList& data);

// ---- Text in a drawing

// The field code that shows a property of `object`: "%<\_ObjId " + its id + ">%". An object
// without a handle prints "\nERROR: Could not translate handle" and gives "".
std::string FieldLinkOf(const cad::Object& object);
// Turns "\U+XXXX" and "\u+XXXX" (one to four hexadecimal digits) into the characters they
// stand for; other backslashes stay.
std::string DecodeUnicodeEscapes(std::string_view text);
// Writes every character outside plain ASCII as "\U+" with its code in "%x".
std::string EncodeUnicodeEscapes(std::string_view text);

}  // namespace arxutils
