"""The Debian packages: what is in them, what they need, and that what docs/install.md shows works with them."""

import io
import os
import shutil
import subprocess
import sys
import tarfile
from pathlib import Path

import pytest
from conftest import BUILD, LIBRARIES, SOURCE, run

EPOCH = "1700000000"


def build(folder, **environment):
    run(
        *["cpack", "--config", BUILD / "CPackConfig.cmake", "-B", folder],
        env={**os.environ, "SOURCE_DATE_EPOCH": EPOCH, **environment},
        cwd=folder,
    )
    return {package.name.split("_")[0]: package for package in folder.glob("*.deb")}


@pytest.fixture(scope="session")
def debs(tmp_path_factory):
    return build(tmp_path_factory.mktemp("debs"))


@pytest.fixture(scope="session")
def root(debs, tmp_path_factory):
    """All packages, unpacked as if into /, and told where that is."""
    folder = tmp_path_factory.mktemp("root")
    for package in debs.values():
        run("dpkg-deb", "-x", package, folder)
    (description,) = folder.rglob("NorixEngine.pc")
    text = description.read_text()
    assert "prefix=/usr\n" in text
    description.write_text(text.replace("prefix=/usr\n", f"prefix={folder}/usr\n"))
    return folder


@pytest.fixture
def installed(root, tmp_path):
    """An environment in which the unpacked packages are found like installed ones, and no others."""
    usr = root / "usr"
    return {
        **os.environ,
        "PATH": f"{usr}/bin:{os.environ['PATH']}",
        "LD_LIBRARY_PATH": f"{usr / LIBRARIES}",
        "FREI0R_PATH": f"{usr}/lib/frei0r-1",
        "PYTHONPATH": f"{usr}/lib/python3/dist-packages",
        "PYTHONDONTWRITEBYTECODE": "1",
        "PKG_CONFIG_PATH": f"{usr / LIBRARIES}/pkgconfig",
        "CMAKE_PREFIX_PATH": f"{usr}",
        "GST_REGISTRY": f"{tmp_path}/gst-registry",
        "QT_QPA_PLATFORM": "offscreen",
    }


def field(package, name):
    return run("dpkg-deb", "-f", package, name).strip()


def files_in(folder):
    return {path.relative_to(folder) for path in folder.rglob("*") if not path.is_dir() or path.is_symlink()}


def test_all_packages_are_there(debs):
    names = {"libnorixengine0", "libnorixengine-dev", "norix", "norixengine-doc"}
    cache = (BUILD / "CMakeCache.txt").read_text()
    if "NORIX_BUILD_FREI0R:BOOL=ON" in cache:
        names.add("frei0r-plugins-norix")
    if "NORIX_BUILD_PYTHON:BOOL=ON" in cache:
        names.add("python3-norixengine")
    assert set(debs) == names


def test_same_sources_give_the_same_bytes(debs, tmp_path):
    again = build(tmp_path, TZ="Pacific/Auckland", LC_ALL="C.UTF-8")
    assert {name: package.read_bytes() for name, package in debs.items()} == {
        name: package.read_bytes() for name, package in again.items()
    }


def test_nothing_in_them_is_younger_than_their_source(debs):
    for package in debs.values():
        content = subprocess.run(["dpkg-deb", "--fsys-tarfile", package], check=True, stdout=subprocess.PIPE).stdout
        with tarfile.open(fileobj=io.BytesIO(content)) as archive:
            assert {member.mtime for member in archive} == {int(EPOCH)}


def test_lintian_finds_no_error(debs):
    if not shutil.which("lintian"):
        pytest.skip("lintian is not installed (Debian: lintian)")
    run("lintian", "--allow-root", "--fail-on", "error", *debs.values())


def test_every_installed_file_is_in_one_package(debs, prefix, tmp_path):
    packaged = set()
    for name, package in debs.items():
        run("dpkg-deb", "-x", package, tmp_path / name)
        files = files_in(tmp_path / name / "usr")
        assert not files & packaged
        packaged |= files
    names = {str(path) for path in packaged}
    missing = []
    for path in files_in(prefix):
        name = str(path).replace("zsh/site-functions", "zsh/vendor-completions")
        if path.parts[:2] == ("share", "man"):
            name += ".gz"
        if name not in names:
            missing.append(name)
    assert not missing


def test_dependencies(debs):
    version = field(debs["libnorixengine0"], "Version")
    for name in set(debs) & {"libnorixengine-dev", "norix", "python3-norixengine"}:
        assert f"libnorixengine0 (= {version})" in field(debs[name], "Depends").split(", ")
    for name in set(debs) - {"norixengine-doc", "libnorixengine-dev"}:
        assert "libc6 (>= " in field(debs[name], "Depends")
    assert "libavformat" in field(debs["norix"], "Depends")
    assert field(debs["norixengine-doc"], "Architecture") == "all"


def test_nothing_looks_for_libraries_in_the_build(root):
    for path in [*root.rglob("*.so*"), root / "usr/bin/norix"]:
        section = run("readelf", "-d", path)
        assert "RUNPATH" not in section and "RPATH" not in section
        assert str(SOURCE).encode() not in path.read_bytes()


def frames(clip):
    counted = run(
        *["ffprobe", "-v", "error", "-count_packets", "-select_streams", "v"],
        *["-show_entries", "stream=nb_read_packets", "-of", "csv=p=0", clip],
    )
    return int(counted.strip().strip(","))


def test_what_the_page_shows_works(installed, tmp_path):
    shutil.copy(SOURCE / "assets/bird.mp4", tmp_path / "clip.mp4")
    shutil.copy(SOURCE / "assets/meadow.mp4", tmp_path / "other.mp4")
    page = Path(__file__).parent / "page.py"
    run(sys.executable, page, SOURCE / "docs/install.md", cwd=tmp_path, env=installed)
    for name in ["swirl.mp4", "joined.mp4", "ffmpeg.mp4", "melt.mp4"]:
        assert frames(tmp_path / name) > 20, name
    assert frames(tmp_path / "batch.mp4") == frames(tmp_path / "clip.mp4")
    assert (tmp_path / "gstreamer.png").read_bytes().startswith(b"\x89PNG")
    picture = (tmp_path / "c.bgra").read_bytes()
    assert len(picture) == 64 * 48 * 4 and set(picture) == {0, 255}
    assert (tmp_path / "cpp.bgra").read_bytes() == picture
    assert (tmp_path / "python.bgra").read_bytes() == picture
