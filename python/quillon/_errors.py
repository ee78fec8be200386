"""Errors and warnings. All errors of the package are below `Error`."""


class Error(Exception):
    """Base class of what this package raises, besides TypeError and ValueError for wrong arguments."""


class ArgumentError(Error, ValueError):
    """The call names something that does not exist, or its values make no sense."""


class PluginError(Error):
    """A plug-in failed; the message is its own."""


class RefusedError(Error, ValueError):
    """A plug-in does not take the image. The message says which images it takes, and what to do."""


class FileError(Error, OSError):
    """A file cannot be read or written."""


class CancelledError(Error):
    """A run was cancelled. After Ctrl-C the error is a KeyboardInterrupt as well."""


class InterruptedRunError(CancelledError, KeyboardInterrupt):
    """A run was cancelled by Ctrl-C."""


class ParameterWarning(UserWarning):
    """A parameter is out of its range or has no effect."""
