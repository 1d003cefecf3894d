#pragma once
// A geometry made of other geometries, drawn together.
#include <vector>

#include "KrGeometry.h"

namespace KRN {

/// A geometry made of other geometries, drawn together
class KrGeoCompound : public KrGeometry {
public:
    /// An empty compound (kind 1000)
    KrGeoCompound();
    /// Deletes the pieces it owns
    ~KrGeoCompound() override;
    /// It owns its pieces, so a compound is not copied
    ///@{
    KrGeoCompound(const KrGeoCompound&) = delete;
    KrGeoCompound& operator=(const KrGeoCompound&) = delete;
    ///@}

    /// Appends a part; with owned true the compound deletes it with itself. Null is ignored.
    void AddCompound(KrGeometry* part, bool owned);
    /// Number of pieces
    int GetCount() const { return static_cast<int>(m_parts.size()); }
    /// The part at index, null outside [0, GetCount())
    KrGeometry* GetAt(int index) const;
    /// Moves the compound and every part with it
    void Offset(double dx, double dy) override;

private:
    struct Part {
        KrGeometry* geometry;
        bool owned;
    };
    std::vector<Part> m_parts;
};

} // namespace KRN
