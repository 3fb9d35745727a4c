#!/usr/bin/env python3
"""Makes what the Python package knows of the parameters from their tables.

    generate.py OUTPUT

writes into the folder OUTPUT:

    enumerations.py    an IntEnum for each enumeration
    _parameters.py     the parameters as attributes, with a sentence each
    _qelm.pyi          types of the extension module: _qelm.pyi.in with the parameters' literal names
"""

import argparse
import pathlib
import sys

HERE = pathlib.Path(__file__).parent
sys.path.insert(0, str(HERE.parent / "parameters"))

import generate as tables_generator  # noqa: E402


def enumerations(tables):
    classes = []
    for name, entries in tables.enumerations.items():
        users = ", ".join(p.name for p in tables.ordered("registry") if p.enumeration == name)
        members = "\n".join(
            f"    {entry.name} = {entry.value}\n" f'    """{entry.text.strip()}"""' for entry in entries
        )
        classes.append(f'class {name}(enum.IntEnum):\n    """Values of {users}."""\n\n{members}\n')
    body = "\n\n".join(classes)
    names = "".join(f'    "{name}",\n' for name in sorted(tables.enumerations))
    users = "".join(
        f'    "{p.name}": {p.enumeration},\n' for p in tables.ordered("registry") if p.enumeration
    )
    return f'''"""The enumerations of the parameters. {tables_generator.MADE_BY}"""

import enum
import typing

__all__ = [
{names}]


{body}

BY_PARAMETER: typing.Final[dict[str, type[enum.IntEnum]]] = {{
{users}}}
"""The enumeration of each parameter that has one."""
'''


def python_type(parameter):
    if parameter.enumeration:
        return parameter.enumeration
    return {"float64": "float", "text": "str"}.get(parameter.type, "int")


def attributes(tables):
    rows = []
    for parameter in tables.ordered("registry"):
        if parameter.type == "lut entry":
            continue  # a table: board.lut
        values = tables_generator.values_text(tables, parameter)
        doc = " ".join(filter(None, [parameter.description.strip(), values and f"Takes {values}."]))
        doc = doc.replace("\\", "\\\\").replace('"', "'") or f"Takes a {python_type(parameter)}."
        kind = python_type(parameter)
        # Reads give the type itself; sets take what stands for it, too.
        setter = {"int": "int", "float": "float", "str": "str | os.PathLike[str]"}.get(kind, f"{kind} | int | str")
        rows.append(
            f"""    @property
    def {parameter.name}(self) -> {kind}:
        \"\"\"{doc}\"\"\"
        return self._board["{parameter.name}"]
"""
        )
        if parameter.is_settable:
            rows.append(
                f"""    @{parameter.name}.setter
    def {parameter.name}(self, value: {setter}) -> None:
        self._board["{parameter.name}"] = value
"""
            )
    body = "\n".join(rows)
    imported = ", ".join(sorted({p.enumeration for p in tables.ordered("registry") if p.enumeration}))
    return f'''"""The parameters as attributes. {tables_generator.MADE_BY}"""

from __future__ import annotations

import os
from typing import TYPE_CHECKING

from qelm import _qelm
from qelm.enumerations import {imported}


class Parameters:
    """The parameters of a board as attributes: reading one asks the board, assigning sets it."""

    __slots__ = ("_board",)
    _board: _qelm.Board

    def __init__(self, board: _qelm.Board) -> None:
        object.__setattr__(self, "_board", board)

    def __dir__(self) -> list[str]:
        return self._board.names()

    if not TYPE_CHECKING:  # which knows the names

        def __getattr__(self, name):
            if name.startswith("_"):
                raise AttributeError(name)
            return self._board[name]  # of another applet, or unknown

        def __setattr__(self, name, value):
            if isinstance(getattr(type(self), name, None), property):
                object.__setattr__(self, name, value)
            else:
                self._board[name] = value

{body}'''


def overloads(tables):
    by_type = {}
    for parameter in tables.ordered("registry"):
        if parameter.type != "lut entry":
            by_type.setdefault(python_type(parameter), []).append(parameter)

    def literal(parameters):
        return "Literal[" + ", ".join(f'"{p.name}"' for p in parameters) + "]"

    lines = []
    for kind, parameters in by_type.items():
        lines += ["    @overload", f"    def __getitem__(self, name: {literal(parameters)}, /) -> {kind}: ..."]
    lines += ["    @overload", "    def __getitem__(self, name: str, /) -> Any: ..."]
    for kind, parameters in by_type.items():
        settable = [p for p in parameters if p.is_settable]
        if settable:
            takes = {"int": "int", "float": "float", "str": "str | os.PathLike[str]"}.get(kind, f"{kind} | int | str")
            lines += [
                "    @overload",
                f"    def __setitem__(self, name: {literal(settable)}, value: {takes}, /) -> None: ...",
            ]
    lines += ["    @overload", "    def __setitem__(self, name: str, value: Any, /) -> None: ..."]
    return "\n".join(lines)


def stub(tables):
    template = (HERE / "_qelm.pyi.in").read_text(encoding="utf-8")
    imported = ", ".join(sorted({p.enumeration for p in tables.ordered("registry") if p.enumeration}))
    return template.replace("@ENUMERATIONS@", imported).replace("    @OVERLOADS@", overloads(tables))


def main():
    parser = argparse.ArgumentParser(description="Makes the package's modules from the parameter tables.")
    parser.add_argument("output", type=pathlib.Path, help="folder to write to")
    arguments = parser.parse_args()
    tables = tables_generator.Tables(HERE.parent / "parameters")
    if tables.errors:
        print("\n".join(tables.errors), file=sys.stderr)
        return 1
    tables_generator.write(arguments.output / "enumerations.py", enumerations(tables))
    tables_generator.write(arguments.output / "_parameters.py", attributes(tables))
    tables_generator.write(arguments.output / "_qelm.pyi", stub(tables))
    return 0


if __name__ == "__main__":
    sys.exit(main())
