#include "attbat/frame/PointOption.h"

#include <cstdlib>
#include <string>
#include <vector>

#include "attbat/frame/ControlValues.h"
#include "attbat/frame/Refusal.h"
#include "base/Format.h"
#include "base/Text.h"

namespace attbat {

bool ReadPointOption(const ControlValues& values, std::string_view key, std::optional<cad::Point3>& point,
                     Refusal& refusal) {
    if (!values.Has(key)) return true;
    const std::string text = values.Text(key);
    std::vector<double> coordinates;
    bool readable = true;
    for (std::size_t start = 0; readable;) {
        const std::size_t comma = text.find(',', start);
        const std::string part =
            base::Trim(text.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
        char* end = nullptr;
        coordinates.push_back(std::strtod(part.c_str(), &end));
        readable = !part.empty() && *end == '\0';
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    if (!readable || coordinates.size() < 2 || coordinates.size() > 3) {
        refusal.Fail(base::Sprintf("--%s %s: give X,Y or X,Y,Z in drawing units.", std::string(key), text));
        return false;
    }
    coordinates.resize(3, 0.0);
    point = cad::Point3{coordinates[0], coordinates[1], coordinates[2]};
    return true;
}

}  // namespace attbat
