"""Thematic maps of 3D scenes from Python.

The package loads the TrTheme3DBase plug-in through its factory, as a scene engine does, and
exposes its five kinds of theme, their documents, the classifiers with their mergeable
statistics, and the drawing of one tile of features into a glTF binary.
"""
import signal as _signal

from . import _t3d
from ._t3d import *  # noqa: F401,F403
from ._t3d import Error
from .geometry import make_layer

# Loading the plug-in makes its log dump itself on SIGINT and then end the process; in Python,
# Ctrl-C should stay a KeyboardInterrupt, so Python's own handler is put back. The other signals
# keep the plug-in's handlers, which report the signal before taking its default course.
try:
    _signal.signal(_signal.SIGINT, _signal.getsignal(_signal.SIGINT))
except ValueError:
    pass  # imported outside the main thread, where Python installs no handler of its own

__version__ = _t3d.version()
