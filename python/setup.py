"""Builds the module against an installed library, which pkg-config finds."""
import os
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_py import build_py


def pkg_config(*options):
    run = subprocess.run(["pkg-config", *options, "morvaneusd"], text=True, capture_output=True, check=False)
    if run.returncode != 0:
        sys.exit(f"setup.py: the library is not installed, or PKG_CONFIG_PATH does not lead to it:\n{run.stderr}")
    return run.stdout.split()


class BuildPython(build_py):
    """Adds what is generated from the headers of the library."""

    def run(self):
        super().run()
        headers = os.path.join(*pkg_config("--variable=includedir"), "morvaneusd")
        package = os.path.join(self.build_lib, "morvaneusd")
        subprocess.run([sys.executable, "generate.py", headers, package], check=True)


# A library outside the search path of the system is found again at run time.
directories = [option.removeprefix("-L") for option in pkg_config("--libs-only-L")]
setup(
    version=pkg_config("--modversion")[0],
    cmdclass={"build_py": BuildPython},
    ext_modules=[Extension(
        "morvaneusd._native", ["native.cc"], language="c++", py_limited_api=True,
        define_macros=[("Py_LIMITED_API", "0x030B0000")],
        extra_compile_args=["-std=c++17", "-fvisibility=hidden",
                            *pkg_config("--cflags")],
        extra_link_args=["-Wl,-z,relro,-z,now", *pkg_config("--libs")],
        runtime_library_dirs=[os.path.realpath(directory) for directory in directories])],
    options={"bdist_wheel": {"py_limited_api": "cp311"}},
)
