"""Analysis of CT and microscopy volumes: distance maps, morphology, granulometry, skeletons, fibres and more.

Arrays are in C order, (z, y, x) or (y, x), and spacing is in the same order. Each plug-in is a function
that takes an Image or a NumPy array and leaves it as it is:

>>> import numpy, quillon
>>> volume = numpy.zeros((20, 20, 20), bool)
>>> volume[5:15, 5:15, 5:15] = True
>>> distance = quillon.voronoi_edt_plugin(quillon.Image(volume, spacing=1.0))
>>> distance.array.shape
(20, 20, 20)

`quillon.run` runs a plug-in of any pack by name. Errors are below `quillon.Error`.
"""
from . import _functions
from ._errors import (
    ArgumentError,
    CancelledError,
    Error,
    FileError,
    ParameterWarning,
    PluginError,
    RefusedError,
)
from ._functions import *  # noqa: F401,F403  the functions of the plug-ins
from ._image import Image, read, write
from ._measurements import Measurement
from ._run import run

__all__ = [
    "ArgumentError",
    "CancelledError",
    "Error",
    "FileError",
    "Image",
    "Measurement",
    "ParameterWarning",
    "PluginError",
    "RefusedError",
    "read",
    "run",
    "write",
]
__all__ += _functions.__all__
