#pragma once
// Geometry primitives of the host's foundation library.

namespace BSX {

struct BsxPoint2D {
    double x = 0.0;
    double y = 0.0;
    BsxPoint2D() = default;
    BsxPoint2D(double px, double py) : x(px), y(py) {}
};

struct BsxPoint3D {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    BsxPoint3D() = default;
    BsxPoint3D(double px, double py, double pz) : x(px), y(py), z(pz) {}
};

struct BsxSize2D {
    double cx = 0.0;
    double cy = 0.0;
    BsxSize2D() = default;
    BsxSize2D(double w, double h) : cx(w), cy(h) {}
};

struct BsxRect2D {
    double left = 0.0;
    double top = 0.0;
    double right = 0.0;
    double bottom = 0.0;
    BsxRect2D() = default;
    BsxRect2D(double l, double t, double r, double b) : left(l), top(t), right(r), bottom(b) {}
    // Extent along x and along y (never negative for a normalised rectangle)
    double Width() const { return right - left; }
    double Height() const { return bottom > top ? bottom - top : top - bottom; }
};

} // namespace BSX
