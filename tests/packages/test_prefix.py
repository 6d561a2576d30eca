"""C99 and C++ programs, built against an installation with pkg-config and with CMake."""

import os
import shutil
from pathlib import Path

import pytest
from conftest import LIBRARIES, run

CONSUMER = Path(__file__).parent / "consumer"
FLAGS = {
    "consumer.c": ["cc", "-std=c99", "-Wall", "-Wextra", "-Wpedantic", "-Werror"],
    "consumer.cpp": ["c++", "-std=c++17", "-Wall", "-Wextra", "-Wpedantic", "-Werror"],
}


def check_linked_with(program, folder):
    """The program must run with the installed library, not with another one that lies around."""
    linked = run("ldd", program, env={**os.environ, "LD_LIBRARY_PATH": str(folder)})
    assert f"{folder}/libNorixEngine.so.0" in linked


def check_runs(program, folder):
    check_linked_with(program, folder)
    assert run(program, env={**os.environ, "LD_LIBRARY_PATH": str(folder)}) == "twisted\n"


@pytest.mark.parametrize("source", FLAGS)
def test_pkg_config(prefix, tmp_path, source):
    environment = {**os.environ, "PKG_CONFIG_PATH": str(prefix / LIBRARIES / "pkgconfig")}
    flags = run("pkg-config", "--cflags", "--libs", "NorixEngine", "libavutil", env=environment).split()
    assert f"-I{prefix}/include" in flags
    run(*FLAGS[source], CONSUMER / source, "-o", tmp_path / "program", *flags)
    check_runs(tmp_path / "program", prefix / LIBRARIES)


def test_pkg_config_knows_the_version(prefix):
    environment = {**os.environ, "PKG_CONFIG_PATH": str(prefix / LIBRARIES / "pkgconfig")}
    version = run("pkg-config", "--modversion", "NorixEngine", env=environment).strip()
    assert run(prefix / "bin/norix", "--version").startswith(f"norix {version} (")


@pytest.mark.parametrize("target", ["c_program", "cpp_program"])
def test_cmake_package(prefix, tmp_path, target):
    shutil.copytree(CONSUMER, tmp_path / "source")
    run("cmake", "-S", tmp_path / "source", "-B", tmp_path / "build", f"-DCMAKE_PREFIX_PATH={prefix}", "-DVERSION=0.1")
    run("cmake", "--build", tmp_path / "build", "--target", target)
    check_runs(tmp_path / "build" / target, prefix / LIBRARIES)


def test_cmake_package_refuses_another_major_version(prefix, tmp_path):
    shutil.copytree(CONSUMER, tmp_path / "source")
    with pytest.raises(AssertionError, match="compatible with requested version"):
        run(
            "cmake", "-S", tmp_path / "source", "-B", tmp_path / "build", f"-DCMAKE_PREFIX_PATH={prefix}", "-DVERSION=7"
        )


def test_norix_finds_the_library_beside_it(prefix):
    assert f"{prefix}/bin/../{LIBRARIES}/libNorixEngine.so.0" in run("ldd", prefix / "bin/norix")


def test_a_moved_installation_works(prefix, tmp_path):
    moved = tmp_path / "moved"
    shutil.copytree(prefix, moved, symlinks=True)
    assert f"{moved}/bin/../" in run("ldd", moved / "bin/norix")
    run(moved / "bin/norix", "list")
