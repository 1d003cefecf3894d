"""Nested coordinates (as GeoJSON nests them) to the flat arrays of t3d.Layer."""
import numbers


def _is_position(value):
    """A coordinate: two or three numbers."""
    try:
        return 2 <= len(value) <= 3 and all(isinstance(v, numbers.Real) for v in value)
    except TypeError:
        return False


def _depth(value):
    """How many sequences wrap the first coordinate of value (0: value is a coordinate)."""
    depth = 0
    while not _is_position(value):
        try:
            value = value[0]
        except (TypeError, IndexError, KeyError):
            return -1
        depth += 1
    return depth


# Depth of one part's rings and of a whole feature's parts, per geometry
_PART_DEPTH = {"polygon": 2, "line": 1, "point": 0}


def make_layer(geometries, fields=None, ids=None, geometry="polygon", anchors=None, name="layer"):
    """A t3d.Layer from one geometry per feature, in degrees (and metres of height).

    A polygon is a list of rings (outer ring first), a multipolygon a list of polygons; a line is
    a list of coordinates, a multiline a list of lines; a point is a coordinate, a multipoint a
    list of them. GeoJSON geometry dicts and objects with __geo_interface__ (shapely) serve as
    well. fields maps each field name to one value per feature.
    """
    import numpy as np

    from ._t3d import Error, Layer

    if geometry not in _PART_DEPTH:
        raise Error(f"unknown geometry '{geometry}' (polygon, line or point)")
    part_depth = _PART_DEPTH[geometry]
    coords, rings, parts, features = [], [0], [0], [0]
    heights = False
    for index, shape in enumerate(geometries):
        shape = getattr(shape, "__geo_interface__", shape)
        if isinstance(shape, dict):
            shape = shape.get("coordinates", ())
        depth = _depth(shape)
        if depth == part_depth:
            shape = [shape]
        elif depth != part_depth + 1:
            raise Error(f"feature {index if ids is None else ids[index]} is not a {geometry} or a multi-{geometry}")
        for part in shape:
            part_rings = [part] if geometry != "polygon" else part
            if geometry == "point":
                part_rings = [[part]]
            for ring in part_rings:
                for p in ring:
                    heights = heights or len(p) == 3
                    coords.append(tuple(p) + (0.0,) * (3 - len(p)))
                rings.append(len(coords))
            parts.append(len(rings) - 1)
        features.append(len(parts) - 1)
    # Without any height the features stay two-dimensional, as a 2D source's would
    xyz = np.asarray(coords, dtype=np.float64).reshape(-1, 3)
    if not heights:
        xyz = np.ascontiguousarray(xyz[:, :2])
    return Layer(geometry, xyz, np.asarray(rings), np.asarray(parts), np.asarray(features), dict(fields or {}),
                 ids, anchors, name)
