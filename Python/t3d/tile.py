"""Tiles one theme of a vector layer on a Dask cluster: python3 -m t3d.tile LAYER --range FIELD ...

Without --scheduler the job starts a LocalCluster on this machine (worker processes, one thread
each); with one it joins that cluster. Pass 1 summarises the layer span by span of feature
identifiers on the workers and the driver merges the summaries in span order into the tree and
the theme. Pass 2 draws the tree's nodes in tasks that depend on the tasks below them (a small
subtree in one task, each node above them in one of its own): leaves read their own features
through the source's spatial filter, coarser tiles read again, by identifier, what their
children hand up unless the same worker drew those children. Each worker process keeps its own prepared job (a clone
of the theme, its own reading of the source); workers write the tiles, and the driver writes the
theme's document and, last, tileset.json. The result is the same bytes as `t3d_demo --tiles`
with the same options.
"""
import argparse
import os
import sys
import threading
import time

from . import _t3d

# The demo's options that a tiling job takes, with how many values each has
_DEMO_OPTIONS = {
    "--layer": 1, "--out": 1, "--name": 1, "--tile-features": 1, "--height-scale": 1,
    "--range": 1, "--method": 1, "--classes": 1, "--interval": 1, "--unique": 1, "--max-classes": 1,
    "--label": 1, "--format": 1, "--chart": 1, "--fields": 1, "--series-scale": 1, "--bar-width": 1,
    "--size-range": 1, "--custom": 1, "--theme": 1, "--x-field": 1, "--y-field": 1, "--lenient": 0,
}

# What this worker process holds for the run in hand, known by its key (a token the driver
# draws, then the demo options): the sample its span summaries kept, which the first job
# prepared here takes instead of reading those features again, and each thread's own prepared
# job (tree, theme clone, source reader), since a job draws on one thread at a time
_held = {"key": None, "sample": None}
_held_lock = threading.Lock()
_local = threading.local()


def _sample(key):
    with _held_lock:
        if _held["key"] != key:
            _held["key"], _held["sample"] = key, _t3d.Sample()
        return _held["sample"]


async def _forget(key):
    """Lets go of what a finished run's summaries kept in this process (a coroutine, which the
    workers run without the driver waiting for them)."""
    with _held_lock:
        if _held["key"] == key:
            _held["key"] = _held["sample"] = None


def _job(key, merged):
    """This thread's prepared job for the run, made on first use."""
    held = getattr(_local, "job", None)
    # Every node of a run hands in the one summary the worker holds; comparing the object
    # first spares comparing megabytes per node
    if held is None or held[0] != key or (held[1] is not merged and held[1] != merged):
        _local.job = None
        job = _t3d.TileJob(list(key[1:]))
        job.prepare(merged, kept=_sample(key))
        held = _local.job = (key, merged, job)
    return held[2]


def _summarise(key, span, spans):
    return _t3d.TileJob(list(key[1:])).summarise_span(span, spans, keep=_sample(key))


def _draw(key, merged, bundle, *handed):
    """Draws the nodes of bundle, (index, children) pairs each after its children, from what the
    bundles below handed up; answers {index: result} for every node of the bundle."""
    job = _job(key, merged)
    known = {}
    for results in handed:
        known.update(results)
    drawn = {}
    for index, children in bundle:
        drawn[index] = known[index] = job.draw_node(index, [known[c] for c in children])
    return drawn


def _children_first(nodes, root=0):
    """The node indices of root's subtree in post-order: every node after all of its children."""
    order, stack = [], [(root, False)] if nodes else []
    while stack:
        index, expanded = stack.pop()
        if expanded:
            order.append(index)
            continue
        stack.append((index, True))
        for child in reversed(nodes[index][1]):
            stack.append((child, False))
    return order


def _bundles(nodes, workers):
    """The tree cut into tasks: every subtree of at most a few nodes is one task, and every node
    above them a task of its own. Returns the bundles in post-order, each a list of node indices
    in post-order, with the bundle every node is drawn in.

    Dask takes a millisecond or two to hand out a task and take its result, a few percent of
    drawing an average node; a subtree drawn in one task pays it once and keeps what its nodes
    hand up in the worker. The bundles stay small enough that there are several for each
    worker to balance, and that a lost worker costs little drawing again."""
    size = [1] * len(nodes)
    order = _children_first(nodes)
    for index in order:
        size[index] += sum(size[c] for c in nodes[index][1])
    limit = max(1, min(32, len(nodes) // (8 * max(1, workers))))
    bundles, bundle_of = [], [0] * len(nodes)
    for index in order:
        parent = nodes[index][0]
        # A node starts a bundle of its subtree when its parent's subtree is too large to be one
        if size[index] > limit or parent < 0 or size[parent] > limit:
            members = [index] if size[index] > limit else _children_first(nodes, index)
            for member in members:
                bundle_of[member] = len(bundles)
            bundles.append(members)
    return bundles, bundle_of


def _remove_tiles(tiles):
    """Removes what an earlier run left: tiles, label and feature lists, hidden temporary files."""
    if not os.path.isdir(tiles):
        return
    for name in os.listdir(tiles):
        if name.startswith(".") or name.endswith((".glb", ".labels.json", ".features.json")):
            os.remove(os.path.join(tiles, name))


def _hidden_leftovers(tiles):
    """Temporary files of writes that a killed worker left half done."""
    for name in os.listdir(tiles):
        if name.startswith("."):
            os.remove(os.path.join(tiles, name))


def parse(argv):
    parser = argparse.ArgumentParser(
        prog="python3 -m t3d.tile",
        description="Tiles one theme of a vector layer on a Dask cluster; the tileset is the same bytes "
                    "as t3d_demo --tiles writes with the same options.")
    parser.add_argument("layer", help="vector data set (any format GDAL reads)")
    parser.add_argument("--scheduler", help="address of a running scheduler (tcp://HOST:8786); "
                        "without it a LocalCluster is started")
    parser.add_argument("--workers", type=int, default=os.cpu_count() or 1,
                        help="worker processes of the LocalCluster (default: one per core)")
    parser.add_argument("--field", help="with --theme range|unique|label: the field (as --range FIELD)")
    parser.add_argument("--theme", help="range, unique or label with --field; otherwise a saved theme document")
    parser.add_argument("--quiet", action="store_true", help="no report on standard output")
    for option, values in _DEMO_OPTIONS.items():
        if option == "--theme":
            continue
        if values:
            parser.add_argument(option, dest="demo" + option.replace("-", "_"))
        else:
            parser.add_argument(option, dest="demo" + option.replace("-", "_"), action="store_true")
    options = parser.parse_args(argv)
    args = ["--data", options.layer, "--no-progress"]
    if options.theme in ("range", "unique", "label"):
        if not options.field:
            parser.error("--theme %s needs --field" % options.theme)
        args += ["--" + options.theme, options.field]
    elif options.theme:
        args += ["--theme", options.theme]
    for option, values in _DEMO_OPTIONS.items():
        if option == "--theme":
            continue
        value = getattr(options, "demo" + option.replace("-", "_"))
        if values and value is not None:
            args += [option, value]
        elif not values and value:
            args.append(option)
    return options, args


class Report:
    """What a run did: times, sizes and the bytes its steps handed around."""

    def __init__(self):
        self.spans = 0
        self.nodes = 0
        self.features = 0
        self.skipped = 0
        self.seconds = {}
        self.to_driver = 0
        self.from_driver = 0
        self.between_workers = 0
        # CPU seconds the workers spent during the run, and the largest peak memory of one
        # (over its life) in bytes
        self.worker_cpu = 0.0
        self.worker_peak = 0
        self.tileset = ""

    def __str__(self):
        return ("%d features in %d spans (%d skipped), %d tiles; scan %.1f s, tiles %.1f s, %.1f s in all; "
                "workers' CPU %.1f s, peak %.0f MB; bytes to the driver %d, from the driver %d, between workers %d; "
                "tileset: %s" % (
                    self.features, self.spans, self.skipped, self.nodes, self.seconds.get("scan", 0.0),
                    self.seconds.get("tiles", 0.0), self.seconds.get("all", 0.0), self.worker_cpu,
                    self.worker_peak / 1e6, self.to_driver, self.from_driver, self.between_workers, self.tileset))


def _worker_state(dask_worker):
    import resource

    usage = resource.getrusage(resource.RUSAGE_SELF)
    return dask_worker.transfer_outgoing_bytes_total, usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024


def _workers(client):
    """Bytes the workers sent, CPU seconds they spent and the largest peak memory of one, so far."""
    states = list(client.run(_worker_state).values())
    return (sum(s[0] for s in states), sum(s[1] for s in states), max([s[2] for s in states] or [0]))


def run(args, client, on_node=None):
    """Tiles the layer with the demo options args on the cluster of client; answers a Report.

    on_node(count), when given, is called on the driver as each node finishes (the fault test
    uses it to kill a worker in the middle of the tiles). Raises t3d.Error with the module's
    message when a step fails.
    """
    key = (os.urandom(8).hex(),) + tuple(args)
    try:
        return _run(args, key, client, on_node)
    finally:
        # What the summaries kept and no job took goes, without waiting for the workers
        client.run(_forget, key, wait=False, on_error="ignore")


def _run(args, key, client, on_node):
    from distributed import as_completed

    report = Report()
    started = time.monotonic()
    driver = _t3d.TileJob(list(args))
    spans = driver.count_spans()
    report.spans = spans
    sent_before, cpu_before, _ = _workers(client)
    # Pass 1: a task per span, merged here in span order
    parts = client.map(_summarise, [key] * spans, range(spans), [spans] * spans, pure=False)
    summaries = client.gather(parts)
    report.to_driver += sum(len(s) for s in summaries)
    merged = driver.merge(summaries)
    del parts, summaries
    # The tree is enough to hand out the nodes; the driver builds its theme (for the theme's
    # document) while the workers draw
    driver.prepare(merged, drawing=False)
    report.features = driver.features
    report.skipped = driver.skipped
    report.seconds["scan"] = time.monotonic() - started

    # Pass 2: the tree's nodes, in tasks after those of their children
    theme_dir = os.path.join(driver.out_dir, driver.name)
    tiles = os.path.join(theme_dir, "tiles")
    tileset = os.path.join(theme_dir, "tileset.json")
    if os.path.exists(tileset):
        os.remove(tileset)
    os.makedirs(tiles, exist_ok=True)
    _remove_tiles(tiles)
    nodes = driver.nodes()
    report.nodes = len(nodes)
    workers = len(client.scheduler_info()["workers"])
    shared = client.scatter(merged, broadcast=True)
    report.from_driver += len(merged) * max(1, workers)
    bundles, bundle_of = _bundles(nodes, workers)
    futures = []
    # Each bundle right after those below it: the scheduler runs tasks in the order they came,
    # so a worker finishes one subtree before it starts the next and still holds what the
    # children handed up when it draws their parent, instead of reading those features again
    for members in bundles:
        below = sorted({bundle_of[c] for m in members for c in nodes[m][1]} - {len(futures)})
        work = tuple((m, tuple(nodes[m][1])) for m in members)
        futures.append(client.submit(_draw, key, shared, work, *[futures[b] for b in below], pure=False,
                                     key="t3d-nodes-%d-%s" % (members[-1], os.urandom(4).hex())))
    tiles_started = time.monotonic()
    done = 0
    results = [None] * len(nodes)
    try:
        driver.prepare(merged)
        for future in as_completed(futures):
            drawn = future.result()
            for index, result in drawn.items():
                results[index] = result
                done += 1
                if on_node:
                    on_node(done)
    except BaseException:
        # No tileset names the tiles of a failed run
        client.cancel(futures)
        _remove_tiles(tiles)
        raise
    report.to_driver += sum(len(r) for r in results)
    sent, cpu, report.worker_peak = _workers(client)
    report.between_workers = max(0, sent - sent_before - report.to_driver)
    report.worker_cpu = cpu - cpu_before
    _hidden_leftovers(tiles)
    driver.finish(results)
    report.tileset = tileset
    report.seconds["tiles"] = time.monotonic() - tiles_started
    report.seconds["all"] = time.monotonic() - started
    return report


def _allocator():
    """The jemalloc library the workers start with (libjemalloc2), or None where it is missing."""
    import ctypes.util

    return ctypes.util.find_library("jemalloc")


def _start_forkserver():
    """Starts the process the local workers are forked from, at once, so that it loads Dask and
    the package while the driver loads them too. It runs with jemalloc, which the workers then
    have from their start."""
    import multiprocessing
    import multiprocessing.forkserver

    # The package, not this module: run as `-m t3d.tile`, this module is the driver's main, which
    # the server and each worker run again under another name; finding it imported already,
    # Python would warn of it in every one of them
    multiprocessing.get_context("forkserver").set_forkserver_preload(["distributed", "t3d"])
    allocator = _allocator()
    before = os.environ.get("LD_PRELOAD")
    if allocator and not before:
        os.environ["LD_PRELOAD"] = allocator
    try:
        multiprocessing.forkserver.ensure_running()
    finally:
        if allocator and not before:
            del os.environ["LD_PRELOAD"]


def main(argv=None):
    options, args = parse(sys.argv[1:] if argv is None else argv)
    # The local workers are forked from a server process rather than each started as a new
    # interpreter, which took 0.4 s (importing Dask, the package and GDAL) before the first task.
    # They allocate through jemalloc, as the demo host does: its per-thread caches spare the
    # tiles most of the C library's bookkeeping. A forked worker has the server's environment,
    # not Dask's pre-spawn one, so neither does it get Dask's MALLOC_TRIM_THRESHOLD_=65536, with
    # which the C library gave pages back and faulted them in again all the time.
    if not options.scheduler:
        _start_forkserver()
    import dask
    from distributed import Client, LocalCluster

    # The tasks spend their time in C++, where Dask's statistical profiler sees nothing: it would
    # only take a share of every worker's core, sampling every 10 ms
    dask.config.set({"distributed.worker.profile.enabled": False,
                     "distributed.worker.multiprocessing-method": "forkserver"})

    try:
        if options.scheduler:
            client = Client(options.scheduler)
            cluster = None
        else:
            # No dashboard; the scheduler's small web server (health, metrics) takes any free
            # port instead of Dask's 8787, which another cluster on the machine may hold and
            # which would cost a warning on every run
            cluster = LocalCluster(n_workers=max(1, options.workers), threads_per_worker=1, processes=True,
                                   dashboard_address=None, scheduler_kwargs={"dashboard_address": ":0"})
            client = Client(cluster)
        try:
            # The tasks' functions go to the workers by reference to this module, which they import
            # themselves; run as a script, this file is __main__ and would travel by value
            from t3d import tile

            report = tile.run(args, client)
        finally:
            client.close()
            if cluster is not None:
                cluster.close()
    except _t3d.Error as e:
        print("t3d.tile: %s" % e, file=sys.stderr)
        return 2
    if not options.quiet:
        print(report)
    return 0


if __name__ == "__main__":
    sys.exit(main())
