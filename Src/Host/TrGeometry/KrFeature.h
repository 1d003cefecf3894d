#pragma once
// A feature of a vector layer: named field values and a geometry.
#include <memory>
#include <utility>
#include <vector>

#include "BsxUnicodeString.h"
#include "BsxVariant.h"
#include "KrGeometry.h"

namespace KRN {

/// A feature of a vector layer: named field values and a geometry
class KrFeature {
public:
    /// A feature without fields, without or with a geometry it then owns
    ///@{
    KrFeature() = default;
    explicit KrFeature(KrGeometry* geometry) : m_geometry(geometry) {}
    ///@}

    /// Sets (or replaces) a field value
    void SetField(const BSX::BsxUnicodeString& name, const BSX::BsxVariant& value);
    /// Number of fields set
    int GetFieldCount() const { return static_cast<int>(m_fields.size()); }
    /// Takes ownership of the geometry (null removes it)
    void SetGeometry(KrGeometry* geometry) { m_geometry.reset(geometry); }
    /// The feature's geometry, still owned by the feature; null when it has none
    KrGeometry* GetGeometry() const { return m_geometry.get(); }

    /// Evaluates an expression on the feature: a field name (matched exactly, then ignoring
    /// case, surrounding blanks ignored) or a number literal. False for anything else.
    bool GetValue(const BSX::BsxUnicodeString& expression, BSX::BsxVariant& value) const;

private:
    std::vector<std::pair<BSX::BsxUnicodeString, BSX::BsxVariant>> m_fields;
    std::unique_ptr<KrGeometry> m_geometry;
};

} // namespace KRN
