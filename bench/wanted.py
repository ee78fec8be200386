"""The plug-ins that are named on the command line of a benchmark."""

import sys


def require_known(wanted, known):
    """Ends the program if a plug-in is named that the benchmark does not run."""
    unknown = [name for name in wanted if name not in known]
    if unknown:
        sys.exit(f"{sys.argv[0]}: no job runs {', '.join(unknown)}; the plug-ins are {', '.join(sorted(set(known)))}")
