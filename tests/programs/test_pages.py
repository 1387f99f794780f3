# SPDX-License-Identifier: GPL-3.0-or-later
"""The help page and the pages of the tree: every link leads somewhere, and every picture is there,
in the proportions that the page gives it."""

import html.parser
import os
import pathlib
import re
import shutil
import struct
import subprocess

import pytest
from processes import PROGRAMS, REPOSITORY


class Page(html.parser.HTMLParser):
    VOID = {"meta", "img", "br", "hr", "link", "input"}

    def __init__(self, path):
        super().__init__()
        self.path, self.ids, self.targets, self.pictures, self._open = path, [], [], [], []
        self.feed(path.read_text(encoding="utf-8"))
        self.close()
        assert not self._open, f"never closed: {self._open}"

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        self.ids += [attributes["id"]] if "id" in attributes else []
        self.targets += [attributes["href"]] if "href" in attributes else []
        self.pictures += [attributes] if tag == "img" else []
        if tag not in self.VOID:
            self._open.append(tag)

    def handle_endtag(self, tag):
        assert self._open and self._open.pop() == tag, f"{tag} closes no tag, {self.getpos()}"


def size_of(picture):
    return struct.unpack(">II", picture.read_bytes()[16:24])  # of the first chunk of a PNG


def installed(folder):
    """The help page as it is installed."""
    build = pathlib.Path(os.path.abspath(PROGRAMS.split(":")[0])).parent
    if not (build / "cmake_install.cmake").exists():
        return pathlib.Path("/usr/share/doc/vantoscope/wvanto.html")
    subprocess.run([shutil.which("cmake"), "-DCMAKE_INSTALL_LOCAL_ONLY=ON", "-P",
                    build / "settings/cmake_install.cmake"], check=True, capture_output=True,
                   env={**os.environ, "DESTDIR": str(folder)})
    [page] = folder.rglob("wvanto.html")
    return page


@pytest.mark.parametrize("of", ["tree", "installation"])
def test_the_help_page_is_whole(of, tmp_path):
    page = Page(REPOSITORY / "docs/wvanto.html" if of == "tree" else installed(tmp_path))
    assert len(page.ids) == len(set(page.ids))
    assert [t for t in page.targets if t.removeprefix("#") not in page.ids] == []
    assert page.pictures
    for picture in page.pictures:
        assert picture["alt"]
        real = size_of(page.path.parent / picture["src"])
        told = int(picture["width"]), int(picture["height"])
        fine = round(real[0] / told[0])  # drawn so many times as fine
        assert all(abs(r - fine * t) < fine for r, t in zip(real, told)), picture


@pytest.mark.parametrize("name", ["README.md", "docs/scale.md"])
def test_the_links_of_a_page_of_the_tree_lead_somewhere(name):
    page = REPOSITORY / name
    targets = [t for t in re.findall(r"\]\(([^)#]+)\)", page.read_text()) if "://" not in t]
    assert [t for t in targets if not (page.parent / t).exists()] == []
