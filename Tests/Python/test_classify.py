"""Accumulators pickled across processes merge into the classification of the whole data."""
import pickle

import numpy as np
import pytest

import t3d


def _parts(values, count):
    return np.array_split(np.asarray(values, dtype=float), count)


@pytest.mark.parametrize("kind", [t3d.ClassStatistics, t3d.QuantileSketch])
def test_pickled_parts_merge_as_the_unpickled_ones(kind):
    values = np.random.default_rng(7).lognormal(3.0, 1.5, 20000)
    direct, moved = kind(), kind()
    for part in _parts(values, 5):
        acc = kind()
        acc.add_many(part)
        acc.add_no_data(2)
        direct.merge(acc)
        moved.merge(pickle.loads(pickle.dumps(acc)))
    assert moved == direct
    assert (moved.count, moved.no_data, moved.min, moved.max) == (20000, 10, values.min(), values.max())
    with pytest.raises(t3d.Error, match="not a serialised"):
        kind.from_bytes(b"\x00garbage")


def test_merged_statistics_classify_as_the_whole_layer():
    values = [float(v) for v in np.random.default_rng(3).normal(100.0, 30.0, 500)]
    layer = t3d.make_layer([[(0, 0)]] * len(values), {"pop": values}, geometry="point")
    whole = t3d.ClassStatistics()
    for part in _parts(values, 4):
        acc = t3d.ClassStatistics()
        acc.add_many(part)
        whole.merge(pickle.loads(pickle.dumps(acc)))
    for method in ("equal", "stdev", "sqrt"):
        own = t3d.build_theme("range", layer, field="pop", method=method, classes=5)
        merged = t3d.build_theme("range", layer, field="pop", method=method, classes=5, statistics=whole)
        assert merged.breaks == pytest.approx(own.breaks, rel=1e-12), method


def test_classifier_on_values_and_on_sketch():
    values = [1, 2, 3, 10, 11, 12, 20, 21, 22, None]
    exact = t3d.Classifier(values).classify("natural", 3)
    assert exact.breaks == [10.0, 20.0] and exact.no_data == 1
    assert [c[0] for c in exact.classes] == [3, 3, 3]
    sketch = t3d.QuantileSketch()
    sketch.add_many(values)
    assert t3d.Classifier(sketch).classify("natural", 3).breaks == exact.breaks
    with pytest.raises(t3d.Error, match="range theme's own"):
        t3d.Classifier(values).classify("equal", 3)
