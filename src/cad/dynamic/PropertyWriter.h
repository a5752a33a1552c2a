#pragma once
// Setting one property of a dynamic block reference: the new parameter states, the evaluated
// anonymous copy, and the reference pointed at it with its representation data updated.

#include <string_view>
#include <vector>

#include "base/Status.h"
#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/DynamicBlockReference.h"

namespace cad::dynamic {

// Sets property `name` of `reference`, whose dynamic block is `definition` and whose
// properties are `properties`, to `value` (see DynamicBlockReference::SetValue).
base::Status SetPropertyValue(BlockReference& reference, const BlockRecord& definition,
                              const std::vector<DynamicBlockProperty>& properties,
                              std::string_view name, const DynamicValue& value);

}  // namespace cad::dynamic
