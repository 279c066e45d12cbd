"""The examples in docstrings of grids are run where the library has grids."""
from kora._library import lib

collect_ignore = [] if lib.has_grids else ["kora/grid.py"]
