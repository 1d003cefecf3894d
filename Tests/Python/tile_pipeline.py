"""The Dask pipeline on a LocalCluster of two worker processes, on the buildings layer that the
demo's tile tests draw single-process: the same bytes, even with a worker killed while the tiles
are drawn, and failures that name their cause and leave no tileset behind.

Run by ctest after the demo's tile runs (T3D_TILES_DIR names their folder)."""
import os
import signal
import subprocess
import sys

import pytest
from distributed import Client, LocalCluster

import t3d
from t3d import tile

TILES = os.environ["T3D_TILES_DIR"]
# The options of the single-process run the pipeline must match (see Tests/Demo/CMakeLists.txt)
ARGS = ["--data", os.path.join(TILES, "buildings.gpkg"), "--no-progress", "--tile-features", "1024",
        "--range", "height"]


@pytest.fixture(scope="module")
def client():
    # Two threads a worker: each draws with a job of its own
    with LocalCluster(n_workers=2, threads_per_worker=2, processes=True, dashboard_address=None) as cluster:
        with Client(cluster) as c:
            yield c


def files(root):
    out = {}
    for folder, _, names in os.walk(root):
        for name in names:
            path = os.path.join(folder, name)
            with open(path, "rb") as f:
                out[os.path.relpath(path, root)] = f.read()
    return out


def test_killed_worker_changes_no_byte(client, tmp_path):
    killed = []

    def kill_one(done):
        # In the middle of the tiles: after the first nodes, while others are being drawn
        if done == 3 and not killed:
            pids = client.run(os.getpid)
            pid = sorted(pids.values())[0]
            os.kill(pid, signal.SIGKILL)
            killed.append(pid)

    report = tile.run(ARGS + ["--out", str(tmp_path)], client, on_node=kill_one)
    assert killed, "the tree was too small to kill a worker in the middle of it"
    assert report.nodes > 3 and report.features == 50000
    single = files(os.path.join(TILES, "threads1", "range"))
    ours = files(tmp_path / "range")
    assert sorted(ours) == sorted(single)
    differing = [name for name in single if single[name] != ours[name]]
    assert not differing, "differ from the single-process tileset: %s" % differing[:5]
    # New worker processes took the killed one's place and its tiles
    assert killed[0] not in client.run(os.getpid).values()


# Places with one record whose coordinates are no numbers (the demo's own lenient-reading data)
PLACES = ["--data", os.path.join(os.environ["T3D_DEMO_TEST_DATA"], "places.csv"), "--x-field", "lon", "--y-field",
          "lat", "--label", "country"]


@pytest.mark.parametrize("args,message", [
    (ARGS[:5] + ["--range", "no_such_field"], "no field 'no_such_field'"),
    (ARGS[:5] + ["--unique", "use", "--range", "height"], "one theme"),
    (PLACES, r"feature \d+ of the layer 'places' has no number in 'lon' or 'lat'"),
])
def test_bad_job_fails_with_its_reason(client, tmp_path, args, message):
    with pytest.raises(t3d.Error, match=message):
        tile.run(args + ["--out", str(tmp_path)], client)
    assert not list(tmp_path.glob("*/tileset.json"))


def test_lenient_job_skips_and_counts(client, tmp_path):
    report = tile.run(PLACES + ["--lenient", "--out", str(tmp_path)], client)
    assert report.skipped == 1 and report.features > 0
    assert (tmp_path / "label" / "tileset.json").exists()


def test_command_line(tmp_path):
    """The command starts its own cluster, whose workers it forks from a server process: a bad
    record fails it with the module's message and status 2, --lenient skips it."""
    def command(*extra):
        return subprocess.run([sys.executable, "-m", "t3d.tile", PLACES[1], *PLACES[2:6], "--label", "country",
                               "--workers", "1", "--out", str(tmp_path), *extra],
                              capture_output=True, text=True, timeout=600)

    strict = command()
    assert strict.returncode == 2 and "has no number in 'lon' or 'lat'" in strict.stderr
    assert not list(tmp_path.glob("*/tileset.json"))
    lenient = command("--lenient")
    assert lenient.returncode == 0, lenient.stderr
    # Nothing to warn of: the fork server and the workers start without a word
    assert "Warning" not in lenient.stderr and "Traceback" not in lenient.stderr, lenient.stderr
    assert "(1 skipped)" in lenient.stdout and (tmp_path / "label" / "tileset.json").exists()
