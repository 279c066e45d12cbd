"""The version of the package, which is that of the library it was made with."""
__version__ = "0.1.0"
