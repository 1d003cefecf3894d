"""Serves the viewer, CesiumJS and one folder of demo outputs on 127.0.0.1 only.

    /usr/bin/python3 Viewer/serve.py [--port N] [--data DIR]

/ is the viewer, /cesium/ the CesiumJS build from node_modules, /data/ the outputs (scene.json and
the files it names). Port 0 takes any free port. Prints the URL, then serves until Ctrl-C.
"""
import argparse
import functools
import http.server
import os
import posixpath
import sys
import urllib.parse

HERE = os.path.dirname(os.path.abspath(__file__))
CESIUM = os.path.join(HERE, "node_modules", "cesium", "Build", "Cesium")
# The viewer's own files; nothing else of its folder (node_modules, tests) is served under /
VIEWER_FILES = {"index.html", "viewer.js", "viewer.css", "labels.js"}


class Handler(http.server.SimpleHTTPRequestHandler):
    def __init__(self, *args, data_dir, **kwargs):
        self.data_dir = data_dir
        super().__init__(*args, directory=HERE, **kwargs)

    def translate_path(self, path):
        path = posixpath.normpath(urllib.parse.unquote(urllib.parse.urlsplit(path).path))
        parts = [p for p in path.split("/") if p and p not in (".", "..")]
        if not parts:
            return os.path.join(HERE, "index.html")
        if parts[0] == "cesium":
            return os.path.join(CESIUM, *parts[1:])
        if parts[0] == "data":
            return os.path.join(self.data_dir, *parts[1:])
        if len(parts) == 1 and parts[0] in VIEWER_FILES:
            return os.path.join(HERE, parts[0])
        return os.path.join(HERE, "missing", *parts)

    def end_headers(self):
        # Outputs are rewritten by every demo run: never let the browser keep an old scene
        self.send_header("Cache-Control", "no-store")
        super().end_headers()

    def log_message(self, format, *args):
        if self.server.verbose:
            super().log_message(format, *args)


def main():
    parser = argparse.ArgumentParser(description="Serve the viewer and demo outputs on 127.0.0.1")
    parser.add_argument("--port", type=int, default=8080, help="port (0: any free port)")
    parser.add_argument("--data", default="t3d-demo-out", help="folder holding scene.json")
    parser.add_argument("--verbose", action="store_true", help="log every request")
    args = parser.parse_args()
    data_dir = os.path.abspath(args.data)
    if not os.path.isfile(os.path.join(data_dir, "scene.json")):
        sys.exit(f"serve.py: no scene.json in {data_dir}; run the demo first (bash scripts/demo.sh)")
    if not os.path.isfile(os.path.join(CESIUM, "Cesium.js")):
        sys.exit(f"serve.py: CesiumJS is not installed; run: npm ci --prefix {HERE}")
    handler = functools.partial(Handler, data_dir=data_dir)
    try:
        server = http.server.ThreadingHTTPServer(("127.0.0.1", args.port), handler)
    except OSError as e:
        sys.exit(f"serve.py: cannot listen on 127.0.0.1:{args.port}: {e.strerror}")
    server.verbose = args.verbose
    print(f"viewer: http://127.0.0.1:{server.server_port}/  (serving {data_dir}; Ctrl-C stops)", flush=True)
    try:
        server.serve_forever()
    except KeyboardInterrupt:
        pass
    finally:
        server.server_close()


if __name__ == "__main__":
    main()
