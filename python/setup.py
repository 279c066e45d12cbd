"""A wheel with the library inside is of one platform; without it, of any."""
from pathlib import Path

from setuptools import Distribution, setup

try:
    from wheel.bdist_wheel import bdist_wheel
except ImportError:  # newer setuptools brings its own
    from setuptools.command.bdist_wheel import bdist_wheel

HERE = Path(__file__).resolve().parent
CARRIES = any((HERE / "kora").glob("libKora.so.*")) or (HERE / "kora" / "Kora.dll").exists()


class Carrying(Distribution):
    def has_ext_modules(self):
        return CARRIES


class AnyPython(bdist_wheel):
    """The library is for every Python: only the platform is fixed."""

    def get_tag(self):
        return ("py3", "none", super().get_tag()[2])


setup(distclass=Carrying, cmdclass={"bdist_wheel": AnyPython})
