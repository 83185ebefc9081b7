"""The project's files and what they include, for the checks of the house."""
import os
import posixpath
import re
import subprocess

SOURCE = (".c", ".cpp", ".h")
# A C++ include, wherever the line stands: a branch that is not compiled today is compiled on another machine.
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*([<"])([^>"\n]+)[>"]', re.MULTILINE)


def root():
    """The project's folder: OC_SOURCE_DIR, or the one that this file stands in."""
    here = os.path.dirname(os.path.abspath(__file__))
    return os.environ.get("OC_SOURCE_DIR") or os.path.dirname(os.path.dirname(here))


def tracked(folder):
    """Files that version control knows or would take, by their names from the root; all files without it."""
    # The folder may belong to somebody else: a build as root in a user's clone.
    command = ["git", "-c", "safe.directory=*", "-C", folder, "ls-files", "-z", "--cached", "--others",
               "--exclude-standard"]
    try:
        names = subprocess.run(command, check=True, capture_output=True).stdout.decode().split("\0")
    except (OSError, subprocess.CalledProcessError):
        names = []
        for place, folders, files in os.walk(folder):
            folders[:] = [f for f in folders if f not in ("build", "out", ".git")]
            names += [os.path.relpath(os.path.join(place, f), folder) for f in files]
    return sorted(n for n in names if n and os.path.isfile(os.path.join(folder, n)))


def text(folder, name):
    with open(os.path.join(folder, name), encoding="utf-8") as file:
        return file.read()


def includes(folder, name):
    """What a source includes: [(line, written name, file of the project or None)]."""
    content = text(folder, name)
    found = []
    for match in INCLUDE.finditer(content):
        target = None
        for base in (posixpath.dirname(name), ""):
            path = posixpath.normpath(posixpath.join(base, match.group(2)))
            if os.path.isfile(os.path.join(folder, path)):
                target = path
                break
        found.append((content.count("\n", 0, match.start()) + 1, match.group(2), target))
    return found


def write_tree(folder, files):
    """Makes a small project for a self-test: {name: content}."""
    for name, content in files.items():
        path = os.path.join(folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(content)
