"""A file system that forgets at a power failure what was not synchronised.

A file's bytes are safe when the file was synchronised, a name when its folder was. Of all other
changes, any may have reached the disk: states() tries each prefix of them, all but one, and one
alone. A rename from folder to folder is one change, safe with the folder that takes the name: file
systems with a journal work like that.
"""

import dataclasses
import itertools
import os
import pathlib
import typing

APPENDING = -1


@dataclasses.dataclass
class Node:
    """A file or a folder; equal to itself only."""
    data: bytes = b""
    is_folder: bool = False
    __hash__ = object.__hash__

    def __eq__(self, other):
        return self is other


@dataclasses.dataclass(frozen=True)
class Change:
    """`apply` makes it in (names, data); synchronising `node` makes it safe."""
    node: Node
    apply: typing.Callable


@dataclasses.dataclass(frozen=True)
class Sync:
    node: Node | None  # none: all

    def makes_safe(self, change):
        return self.node is None or self.node is change.node


class Disk:
    """What a record of calls does, from a folder on that lies on the disk as it is."""

    def __init__(self, folder):
        self.top = str(folder)
        self.root = Node(is_folder=True)
        self.first = {}  # {(folder, name): node}
        self.steps = []  # changes, syncs, and what mark() was given
        self.opened = {self.top: self.root}  # by the path of the opening: a rename keeps files open
        self.load(pathlib.Path(folder), self.root, {})
        self.names = dict(self.first)
        self.sizes = {node: len(node.data) for node in self.first.values()}

    def load(self, folder, node, known):
        for path in folder.iterdir():
            number = path.stat().st_ino
            if number not in known:
                known[number] = Node(b"" if path.is_dir() else path.read_bytes(), path.is_dir())
            self.first[node, path.name] = known[number]
            if path.is_dir():
                self.load(path, known[number], known)

    def mark(self, what):
        """Something that happened outside, such as an answer to a client."""
        self.steps.append(what)

    def play(self, call):
        """Takes a call of a record; those that change nothing are left out."""
        if call.result >= 0 and call.number > 0:
            getattr(self, "do_" + call.name, lambda _: None)(call)

    def place(self, path):
        """(folder, name) of a path below the top."""
        *folders, name = path[len(self.top) + 1:].split("/")
        node = self.root
        for folder in folders:
            node = self.names[node, folder]
        return node, name

    def find(self, path):
        return self.root if path == self.top else self.names.get(self.place(path))

    def change(self, node, apply):
        self.steps.append(Change(node, apply))
        apply(self.names, {})

    def name(self, place, node):
        def apply(names, _):
            names[place] = node
        self.change(place[0], apply)

    def do_open(self, call):
        self.opened[call.path] = self.find(call.path)

    def do_create(self, call):
        node = self.find(call.path)
        if node is None:
            node = Node()
            self.sizes[node] = 0
            self.name(self.place(call.path), node)
        elif call.argument & os.O_TRUNC:
            self.resize(node, 0)
        self.opened[call.path] = node

    def do_mkdir(self, call):
        self.name(self.place(call.path), Node(is_folder=True))

    def do_link(self, call):
        self.name(self.place(call.other), self.find(call.path))

    def do_unlink(self, call):
        place, node = self.place(call.path), self.find(call.path)

        def apply(names, _):
            if names.get(place) is node:
                del names[place]
        self.change(place[0], apply)

    def do_rename(self, call):
        source, target, node = self.place(call.path), self.place(call.other), self.find(call.path)

        def apply(names, _):
            if names.get(source) is node:
                del names[source]
            names[target] = node
        self.change(target[0], apply)

    def do_write(self, call):
        node, data = self.opened[call.path], call.data[:call.result]
        offset = self.sizes[node] if call.argument == APPENDING else call.argument
        self.sizes[node] = max(self.sizes[node], offset + len(data))

        def apply(_, contents):
            old = contents.get(node, node.data).ljust(offset, b"\0")
            contents[node] = old[:offset] + data + old[offset + len(data):]
        self.change(node, apply)

    def do_truncate(self, call):
        self.resize(self.opened[call.path], call.argument)

    def resize(self, node, size):
        self.sizes[node] = size

        def apply(_, contents):
            contents[node] = contents.get(node, node.data)[:size].ljust(size, b"\0")
        self.change(node, apply)

    def do_fsync(self, call):
        self.steps.append(Sync(self.opened[call.path]))

    def do_syncfs(self, _call):
        self.steps.append(Sync(None))

    def states(self, moment):
        """What may be on the disk when the power fails behind so many steps: trees, some twice."""
        steps = self.steps[:moment]
        changes = [number for number, step in enumerate(steps) if isinstance(step, Change)]
        safe = {number for number in changes
                if any(isinstance(later, Sync) and later.makes_safe(steps[number])
                       for later in steps[number:])}
        others = [number for number in changes if number not in safe]
        prefixes = (set(others[:count]) for count in range(len(others) + 1))
        alone = ({number} for number in others)
        all_but = (set(others) - {number} for number in others)
        for survivors in itertools.chain(prefixes, alone, all_but):
            yield self.tree(number for number in changes if number in safe | survivors)

    def tree(self, numbers):
        """{path: (content, group)}; folders have None as content, second names the same group."""
        names, contents = dict(self.first), {}
        for number in numbers:
            self.steps[number].apply(names, contents)
        found, groups = {}, {}

        def walk(folder, path):
            for (above, name), node in sorted(names.items(), key=lambda item: item[0][1]):
                if above is not folder:
                    continue
                content = None if node.is_folder else contents.get(node, node.data)
                found[path + name] = content, groups.setdefault(node, len(groups))
                if node.is_folder:
                    walk(node, f"{path}{name}/")
        walk(self.root, "")
        return found


def build(tree, folder):
    """A tree as a real folder, which is not there yet."""
    folder.mkdir()
    first = {}
    for path, (content, group) in tree.items():
        if content is None:
            (folder / path).mkdir()
        elif group in first:
            os.link(first[group], folder / path)
        else:
            (folder / path).write_bytes(content)
            first[group] = folder / path


def frozen(tree):
    return tuple(sorted(tree.items(), key=lambda item: item[0]))
