#pragma once
// Colour of four doubles in 0 to 1: red, green, blue, alpha.

namespace KRN {

/// Colour of four doubles in 0 to 1: red, green, blue, alpha
struct KrColorValue3D {
    /// The components; alpha 1 is opaque
    ///@{
    double r = 0.0;
    double g = 0.0;
    double b = 0.0;
    double a = 1.0;
    ///@}
    /// Opaque black, or the given components
    ///@{
    KrColorValue3D() = default;
    KrColorValue3D(double red, double green, double blue, double alpha) : r(red), g(green), b(blue), a(alpha) {}
    ///@}
    /// Exact comparison of all four components
    ///@{
    friend bool operator==(const KrColorValue3D& x, const KrColorValue3D& y)
    {
        return x.r == y.r && x.g == y.g && x.b == y.b && x.a == y.a;
    }
    friend bool operator!=(const KrColorValue3D& x, const KrColorValue3D& y) { return !(x == y); }
    ///@}
};

} // namespace KRN
