"""Holds the layer list of docs/ARCHITECTURE.md against what the sources include.

The list is the first table below the heading "Layers": one row a layer, top layer first, the folder in backticks in
the first column. The table below the heading "Beside the layers" names folders outside the stack and, in its second
column, what each may include.
"""
import re
import tempfile
import unittest

import tree

# What Qt calls its headers: <QWidget>, <QtGui/QImage>, <qglobal.h>, <qpa/...>, <private/q...>.
QT = re.compile(r"^(Q[A-Z]\w*|Qt\w*/.+|q[a-z0-9]+\.h|qpa/.+|private/q.+)$")
# A narrow header of the platform layer knows the C++ library and its neighbours.
STANDARD = re.compile(r"^[a-z_0-9]+$|^(std(int|def|arg|io|lib)|string|math)\.h$")


def table(text, heading):
    """Rows of the first table below a heading, as lists of cells, without its head."""
    match = re.search(r"^#+ " + re.escape(heading) + r"\s*$(.*?)(?=^#|\Z)", text, re.MULTILINE | re.DOTALL)
    if not match:
        return []
    rows = [line.strip().strip("|").split("|") for line in match.group(1).splitlines() if line.startswith("|")]
    return [[cell.strip() for cell in row] for row in rows[2:]]


def folders(cell):
    return [name if name.endswith("/") else name + "/" for name in re.findall(r"`([^`]+)`", cell)]


class Layers:
    def __init__(self, text):
        self.stack = [folders(row[0])[0] for row in table(text, "Layers")]
        self.beside = {folders(row[0])[0]: folders(row[1]) for row in table(text, "Beside the layers")}

    def of(self, name):
        """The folder of the list that a file belongs to: the longest that begins its name."""
        known = [f for f in (*self.stack, *self.beside) if name.startswith(f)]
        return max(known, key=len) if known else None

    def may_include(self, above, below):
        if above == below:
            return True
        if above in self.beside:
            return below in self.beside[above]
        return above in self.stack and below in self.stack and self.stack.index(above) < self.stack.index(below)


def broken_layers(folder, layers):
    """Includes against the list, one sentence each."""
    found = []
    for name in tree.tracked(folder):
        if not name.endswith(tree.SOURCE):
            continue
        own = layers.of(name)
        if own is None:
            if name.split("/")[0] in ("src", "app", "host"):
                found.append(f"{name}: its folder is in no list")
            continue
        for line, written, target in tree.includes(folder, name):
            if written.startswith(("src/", "app/", "host/")) and target is None:
                found.append(f"{name}:{line}: includes {written}, which does not exist")
            if target is None:
                continue
            other = layers.of(target)
            if other is None:
                found.append(f"{name}:{line}: {own} includes {target}, which no list names")
            elif not layers.may_include(own, other):
                found.append(f"{name}:{line}: {own} includes {target} of {other}")
    return found


def may_use_qt(name):
    return name.endswith(("Win.cpp", "Win.h")) or name.startswith(("app/", "src/platform/qt/"))


def broken_qt(folder):
    found = []
    for name in tree.tracked(folder):
        if not name.endswith(tree.SOURCE) or not name.startswith(("src/", "app/", "host/")) or may_use_qt(name):
            continue
        for line, written, target in tree.includes(folder, name):
            if target is None and QT.match(written):
                found.append(f"{name}:{line}: includes {written}")
            elif target is not None and target.endswith("Win.h"):
                found.append(f"{name}:{line}: includes the widget header {written}")
    return found


def broken_platform(folder):
    """Headers of the platform layer that show more than the C++ library."""
    found = []
    for name in tree.tracked(folder):
        if not re.match(r"^src/platform/[^/]+\.h$", name):
            continue
        for line, written, target in tree.includes(folder, name):
            if target is None and not STANDARD.match(written):
                found.append(f"{name}:{line}: includes {written}")
    return found


class Tree(unittest.TestCase):
    def sound(self, broken):
        self.assertFalse(broken, "\n" + "\n".join(broken))

    def setUp(self):
        self.root = tree.root()
        self.layers = Layers(tree.text(self.root, "docs/ARCHITECTURE.md"))

    def test_the_list_names_the_stack(self):
        self.assertEqual(self.layers.stack, ["app/", "src/preview/", "src/surface/", "src/UI/", "src/support/",
                                             "src/LUTs/", "src/", "src/platform/"])

    def test_the_check_sees_the_sources(self):
        names = [n for n in tree.tracked(self.root) if n.endswith(tree.SOURCE) and n.startswith("src/")]
        inner = [t for n in names for _, _, t in tree.includes(self.root, n) if t]
        self.assertGreater(len(names), 20)
        self.assertGreater(len(inner), 20)

    def test_nothing_includes_upward(self):
        self.sound(broken_layers(self.root, self.layers))

    def test_only_windows_know_qt(self):
        self.sound(broken_qt(self.root))

    def test_platform_headers_are_narrow(self):
        self.sound(broken_platform(self.root))


LIST = """
## Layers

| Folder | Holds |
|---|---|
| `app/` | start |
| `src/UI/` | controls |
| `src/` | engine |
| `src/platform/` | system |

### Beside the layers

| Folder | May include |
|---|---|
| `host/` | `src/`, `src/platform/` |
"""
SOUND = {
    "app/main.cpp": '#include <QApplication>\n#include "src/UI/Wheel.h"\n#include "src/Engine.h"\n',
    "src/UI/Wheel.h": '#include "src/Engine.h"\n#include <cmath>\n',
    "src/UI/WheelWin.cpp": '#include <QtWidgets/QWidget>\n#include "Wheel.h"\n',
    "src/Engine.h": '#include "src/platform/System.h"\n',
    "src/platform/System.h": "#include <cstdint>\n#include <stdint.h>\n",
    "src/platform/linux/System.cpp": '#include "src/platform/System.h"\n#include <unistd.h>\n',
    "src/platform/qt/Screen.cpp": "#include <QScreen>\n",
    "host/Host.cpp": '#include "src/Engine.h"\n#include "src/platform/System.h"\n',
    "tests/Engine_test.cpp": '#include "app/main.cpp"\n',
}


class SelfTest(unittest.TestCase):
    """The checks catch what they are for."""

    def broken(self, **changes):
        with tempfile.TemporaryDirectory() as folder:
            tree.write_tree(folder, SOUND | {name.replace("__", "/"): text for name, text in changes.items()})
            return broken_layers(folder, Layers(LIST)) + broken_qt(folder) + broken_platform(folder)

    def broken_by(self, name, line):
        with tempfile.TemporaryDirectory() as folder:
            tree.write_tree(folder, SOUND | {name: SOUND.get(name, "") + line + "\n"})
            return broken_layers(folder, Layers(LIST)) + broken_qt(folder) + broken_platform(folder)

    def test_a_sound_tree_passes(self):
        self.assertEqual(self.broken(), [])

    def test_each_broken_include_is_caught_once(self):
        cases = [
            ("src/Engine.h", '#include "src/UI/Wheel.h"'),
            ("src/Engine.cpp", '  #  include "UI/Wheel.h"'),
            ("src/Engine.cpp", "#include <src/UI/Wheel.h>"),
            ("src/UI/Wheel.cpp", '#include "app/main.cpp"'),
            ("src/UI/Wheel.cpp", '#include "../../app/main.cpp"'),
            ("src/platform/linux/System.cpp", '#include "src/Engine.h"'),
            ("src/Engine.cpp", '#include "host/Host.cpp"'),
            ("host/Host.cpp", '#include "src/UI/Wheel.h"'),
            ("src/Engine.cpp", '#include "tests/Engine_test.cpp"'),
            ("src/Engine.cpp", '#include "src/Gone.h"'),
            ("src/UI/Wheel.cpp", "#include <QString>"),
            ("src/UI/Wheel.cpp", "#include <QtCore/QString>"),
            ("src/UI/Wheel.cpp", "#include <qstring.h>"),
            ("host/Host.cpp", "#include <QString>"),
            ("src/platform/System.h", "#include <unistd.h>"),
            ("src/platform/System.h", "#include <sys/mman.h>"),
        ]
        for name, line in cases:
            with self.subTest(name=name, line=line):
                self.assertEqual(len(self.broken_by(name, line)), 1, self.broken_by(name, line))

    def test_a_widget_header_stays_with_widgets(self):
        self.assertEqual(len(self.broken(**{"src/UI/WheelWin.h": "\n",
                                            "src/UI/Wheel.cpp": '#include "src/UI/WheelWin.h"\n'})), 1)

    def test_a_folder_that_no_list_names_is_caught(self):
        self.assertEqual(len(self.broken(**{"app2/x.cpp": ""})), 0)
        with tempfile.TemporaryDirectory() as folder:
            tree.write_tree(folder, {"host/x.cpp": ""})
            self.assertEqual(len(broken_layers(folder, Layers(LIST.split("### Beside")[0]))), 1)


if __name__ == "__main__":
    unittest.main()
