#include "DemoLayer.h"

#include <algorithm>
#include <cctype>
#include <limits>

namespace KRN {

int DemoLayer::FindField(const std::string& fieldName) const
{
    for (size_t i = 0; i < fields.size(); ++i) {
        if (fields[i].name == fieldName) return static_cast<int>(i);
    }
    auto lower = [](std::string s) {
        std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        return s;
    };
    const std::string wanted = lower(fieldName);
    for (size_t i = 0; i < fields.size(); ++i) {
        if (lower(fields[i].name) == wanted) return static_cast<int>(i);
    }
    return -1;
}

std::string DemoLayer::FieldList() const
{
    std::string list;
    for (const DemoField& f : fields) list += (list.empty() ? "" : ", ") + f.name;
    return list.empty() ? "none" : list;
}

void DemoLayer::UpdateBounds()
{
    double minX = std::numeric_limits<double>::infinity(), minY = minX;
    double maxX = -minX, maxY = -minX;
    auto take = [&](const BSX::BsxPoint3D& p) {
        minX = std::min(minX, p.x);
        maxX = std::max(maxX, p.x);
        minY = std::min(minY, p.y);
        maxY = std::max(maxY, p.y);
    };
    for (const DemoFeature& f : features) {
        if (f.hasAnchor) take(f.anchor);
        for (const DemoPart& part : f.parts) {
            for (const auto& ring : part.rings) {
                for (const auto& p : ring) take(p);
            }
        }
    }
    if (minX > maxX) {
        bounds = BSX::BsxRect2D();
        return;
    }
    // top is the northern edge
    bounds = BSX::BsxRect2D(minX, maxY, maxX, minY);
}

} // namespace KRN
