"""The package loads the plug-in through its factory and keeps the module's log reachable."""
import os

import t3d


def test_factory_of_the_built_plugin():
    assert os.path.basename(t3d.plugin_path()) == "TrTheme3DBase.t3d"
    assert t3d.plugin_name() == "Terrasyn BaseTheme3Ds"
    assert t3d.supported_kinds() == [1, 2, 3, 4, 5]
    assert t3d.__version__.count(".") == 1
