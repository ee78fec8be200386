"""What docs/python.md shows works as it is shown there."""
import os
import subprocess
import sys

from conftest import DATA

PAGE = DATA.parent.parent / "docs" / "python.md"


def test_the_page_can_be_followed(tmp_path):
    (tmp_path / "tests").symlink_to(DATA.parent)
    follow = [sys.executable, str(DATA.parent / "python" / "follow_page.py"), str(PAGE)]
    done = subprocess.run(follow, cwd=tmp_path, env={**os.environ, "MPLBACKEND": "Agg"}, capture_output=True, text=True)
    assert done.returncode == 0 and "ParameterWarning" not in done.stderr, done.stderr
    written = {path.name for path in tmp_path.iterdir()}
    assert {"pores.nrrd", "pores.csv", "sizes.png"} <= written
