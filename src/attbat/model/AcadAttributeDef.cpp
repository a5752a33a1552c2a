#include "attbat/model/AcadAttributeDef.h"

#include "base/Text.h"

namespace attbat {

AcadAttributeDef::AcadAttributeDef(std::string tag, std::string prompt, Point3d position,
                                   int constant, int invisible, int preset, int verifiable,
                                   int kind)
    : tag(std::move(tag)),
      prompt(std::move(prompt)),
      constant(constant),
      invisible(invisible),
      preset(preset),
      verifiable(verifiable),
      kind(kind),
      position(position) {}

void AcadAttributeDef::SetField(std::string_view name, std::string_view value) {
    if (base::EqualNoCase(name, "tag")) {
        tag = value;
    } else if (base::EqualNoCase(name, "Prompt")) {
        prompt = value;
    } else if (base::EqualNoCase(name, "DefaultValue")) {
        defaultValue = value;
    }
}

}  // namespace attbat
