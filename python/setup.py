"""Puts the package that CMake built, and the libraries beside it, into a wheel. QELM_BUILD names another build."""

import os
import pathlib
import re
import shutil

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = pathlib.Path(os.environ.get("QELM_BUILD", ROOT / "build" / "native"))
LIBRARIES = (
    "Zantor_Obvelline_Qx4_RK.so",
    "libnuvpix.so",
    "libnuvrak5.so",
    "libnuvrod.so",
    "libqelm_hw.so",
    "libqelm_virtual_board.so",
)


class BuiltPackage(build_py):
    def run(self):
        package = BUILD / "python" / "qelm"
        if not list(package.glob("_qelm.*.so")):
            raise SystemExit(f"{package} holds no built package: build the preset native, or set QELM_BUILD")
        target = pathlib.Path(self.build_lib, "qelm")
        shutil.copytree(package, target, ignore=shutil.ignore_patterns("__pycache__"), dirs_exist_ok=True)
        for library in LIBRARIES:
            shutil.copy2(BUILD / "bin" / library, target)


class Binary(Distribution):
    def has_ext_modules(self):
        return True


version = re.search(r"project\(\S+ VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text()).group(1)
setup(version=version, packages=["qelm"], cmdclass={"build_py": BuiltPackage}, distclass=Binary)
