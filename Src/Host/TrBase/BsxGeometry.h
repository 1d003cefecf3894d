#pragma once
// Geometry primitives of the host's foundation library.

namespace BSX {

/// A point in the plane
struct BsxPoint2D {
    /// The coordinates
    ///@{
    double x = 0.0;
    double y = 0.0;
    ///@}
    /// All zero, or the given x and y
    ///@{
    BsxPoint2D() = default;
    BsxPoint2D(double px, double py) : x(px), y(py) {}
    ///@}
};

/// A point in space
struct BsxPoint3D {
    /// The coordinates
    ///@{
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    ///@}
    /// All zero, or the given x, y and z
    ///@{
    BsxPoint3D() = default;
    BsxPoint3D(double px, double py, double pz) : x(px), y(py), z(pz) {}
    ///@}
};

/// A width (cx) and a height (cy)
struct BsxSize2D {
    /// The extents
    ///@{
    double cx = 0.0;
    double cy = 0.0;
    ///@}
    /// All zero, or the given cx and cy
    ///@{
    BsxSize2D() = default;
    BsxSize2D(double w, double h) : cx(w), cy(h) {}
    ///@}
};

/// A rectangle by its left, top, right and bottom edges
struct BsxRect2D {
    /// The edges
    ///@{
    double left = 0.0;
    double top = 0.0;
    double right = 0.0;
    double bottom = 0.0;
    ///@}
    /// All zero, or the given edges
    ///@{
    BsxRect2D() = default;
    BsxRect2D(double l, double t, double r, double b) : left(l), top(t), right(r), bottom(b) {}
    ///@}
    /// Extent along x and along y (never negative for a normalised rectangle)
    ///@{
    double Width() const { return right - left; }
    double Height() const { return bottom > top ? bottom - top : top - bottom; }
    ///@}
};

} // namespace BSX
