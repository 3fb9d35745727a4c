#!/usr/bin/env python3
"""Makes everything that repeats facts about the parameters from the three tables beside this file:

    parameters.toml      one entry for each parameter
    enumerations.toml    the values of enumerated parameters
    orders.toml          lists of names: the orders that callers see

The head of each table describes its entries. `generate.py OUTPUT` writes

    OUTPUT/include/zantor_obvelline_qx4_rk/parameter_ids.h, enumerations.h    for users, installed
    OUTPUT/src/parameters/rows.h                                              constexpr rows for the applet
    OUTPUT/src/parameters/reference.h, OUTPUT/parameters.md                   the reference for readers

What is wrong with a table is told as "file:line: what is wrong", all of it at once, and nothing is written then.
"""

import argparse
import dataclasses
import json
import math
import pathlib
import re
import sys
import textwrap
import tomllib

# How the tables' words are called in C++.
TYPES = {
    "uint32": "unsigned32",
    "int32": "signed32",
    "float64": "float64",
    "text": "text",
    "lut entry": "lutEntry",
}
CPP_TYPES = {
    "uint32": "std::uint32_t",
    "int32": "std::int32_t",
    "float64": "double",
    "text": "std::string",
    "lut entry": "LutEntry",
}
USES = {"settable": "settable", "command": "command", "read-only": "readOnly", "live": "live"}
CONFIGURATION_USES = {"kept and applied": "keptAndApplied", "kept": "kept", "applied": "applied"}
TRIGGER_SETS = {"current": "current", "legacy": "legacy", "shared": "shared"}

INTEGER_LIMITS = {"uint32": (0, 2**32 - 1), "int32": (-(2**31), 2**31 - 1)}
HIGHEST_IDENTIFIER = 1000000  # above are the identifiers of direct access
LONGEST_TEXT = 255  # bytes; what readers of enumerations have room for
SEPARATOR = " / "  # between a category and its subcategory
WRITABLE = 2  # bit of the access flags


class Table:
    """A TOML file whose entries take a line each, and where in it they stand."""

    def __init__(self, path, errors):
        self.path = path
        self.errors = errors
        self.lines = {}
        self.data = {}
        try:
            text = path.read_bytes().decode("utf-8")
            self.data = tomllib.loads(text)
        except OSError as error:
            errors.append(f"{path}: {error.strerror}")
        except UnicodeDecodeError as error:
            line = error.object.count(b"\n", 0, error.start) + 1
            errors.append(f"{path}:{line}: not UTF-8")
        except tomllib.TOMLDecodeError as error:
            what, _, where = str(error).partition(" (at ")
            line = re.match(r"line (\d+)", where)
            errors.append(f"{path}:{line[1] if line else text.count(chr(10)) + 1}: {what}")
        else:
            self.locate(text)

    def locate(self, text):
        section = key = ""
        for number, line in enumerate(text.splitlines(), 1):
            if match := re.match(r"\[([^\]]+)\]", line):
                section, key = match[1], ""
                self.lines[section,] = number
            elif match := re.match(r"([\w-]+)\s*=", line):
                key = match[1]
                self.lines[section, key] = number
            elif match := re.match(r'\s+"(.*)",', line):
                self.lines[section, key, match[1]] = number  # of a name that stands twice the second place

    def error(self, what, *place):
        """Tells an error at the place of an entry, as exactly as it is known: section, key, name in a list."""
        while place and place not in self.lines:
            place = place[:-1]
        self.errors.append(f"{self.path}:{self.lines.get(place, 1)}: {what}")

    def fields(self, values, known, *place):
        """The fields of an entry that have the type they should; tells about all others. `known`: name, types."""
        if not isinstance(values, dict):
            self.error("has to be a table of fields", *place)
            return {}
        good = {}
        for name, value in values.items():
            here = (*place, name) if len(place) == 1 else place
            if name not in known:
                self.error(f'unknown field "{name}"; known are {", ".join(known)}', *here)
            elif type(value) not in known[name]:
                wanted = " or ".join(kind.__name__ for kind in known[name])
                self.error(f'"{name}" has to be of type {wanted}', *here)
            elif isinstance(value, float) and not math.isfinite(value):
                self.error(f'"{name}" has to be finite', *here)
            else:
                good[name] = value
        return good

    def require(self, fields, names, values, *place):
        for name in names:
            if name not in fields and name not in values:
                self.error(f'"{name}" is missing', *place)


@dataclasses.dataclass
class Enumerator:
    name: str
    value: int
    text: str


@dataclasses.dataclass
class Parameter:
    name: str
    identifier: int = 0
    description: str = ""
    type: str = "uint32"
    use: str = "read-only"
    category: str | None = None
    shown: str = ""
    level: int = 1
    access: int = 0
    enumeration: str | None = None
    filter: str | None = None
    limits: tuple | None = None  # minimum, maximum, step
    moving: str | None = None  # "minimum" or "maximum"
    unit: str = ""
    initial: int | float | None = None
    configuration: str | None = None
    trigger_set: str | None = None
    notes: str = ""

    @property
    def is_settable(self):
        return self.use in ("settable", "command")

    @property
    def is_integer(self):
        return self.type in INTEGER_LIMITS

    @property
    def is_number(self):
        return self.is_integer or self.type == "float64"


class Tables:
    """The three tables, read and checked."""

    def __init__(self, folder):
        self.errors = []
        self.enumerations = {}  # name: list of enumerators
        self.parameters = {}  # name: parameter
        self.orders = {}
        names = ("enumerations.toml", "orders.toml", "parameters.toml")
        enumerations, orders, parameters = (Table(folder / name, self.errors) for name in names)
        if self.errors:
            return
        self.categories = [name for name in orders.data.get("categories", []) if isinstance(name, str)]
        self.read_enumerations(enumerations)
        self.read_parameters(parameters)
        if not self.errors:  # else the lists would lack names that are there, but wrong
            self.read_orders(orders)

    def read_enumerations(self, table):
        values = {}
        for name, entries in table.data.items():
            if not isinstance(entries, dict) or not entries:
                table.error(f'the enumeration "{name}" has no values', name)
                continue
            rows = self.enumerations[name] = []
            for symbol, entry in entries.items():
                fields = table.fields(entry, {"value": [int], "text": [str]}, name, symbol)
                table.require(fields, ["value", "text"], entry, name, symbol)
                if len(fields) != 2:
                    continue
                row = Enumerator(symbol, **fields)
                low, high = INTEGER_LIMITS["int32"]
                if not low <= row.value <= high:
                    table.error(f"{row.value} does not fit in 32 bits", name, symbol)
                for other in rows:
                    if other.value == row.value:
                        table.error(f"{row.value} stands twice: {other.name} has it, too", name, symbol)
                if values.setdefault(symbol, row.value) != row.value:
                    table.error(f"{symbol} is {values[symbol]} in another enumeration", name, symbol)
                if not re.fullmatch(r"[A-Za-z_]\w*", symbol, re.ASCII):
                    table.error(f'"{symbol}" is no name in C', name, symbol)
                if len(row.text.encode()) > LONGEST_TEXT:
                    table.error(f"a text longer than {LONGEST_TEXT} bytes", name, symbol)
                rows.append(row)
        self.symbols = values

    def read_parameters(self, table):
        known = {
            "identifier": [int],
            "description": [str],
            "type": [str],
            "use": [str],
            "display": [dict],
            "access": [int],
            "enumeration": [str],
            "filter": [str],
            "limits": [dict],
            "unit": [str],
            "initial": [int, float, str],
            "configuration": [str],
            "trigger_set": [str],
            "notes": [str],
        }
        identifiers = {}
        used = set()
        for name, entry in table.data.items():
            fields = table.fields(entry, known, name)
            if not isinstance(entry, dict):
                continue
            table.require(fields, ["identifier", "description", "type", "use"], entry, name)
            parameter = self.parameters[name] = Parameter(name)

            def error(what, field):
                table.error(what, name, field)

            def choose(field, allowed):
                if field in fields and fields[field] not in allowed:
                    error(f'unknown {field} "{fields[field]}"; known are {", ".join(allowed)}', field)
                elif field in fields:
                    setattr(parameter, field, fields[field])

            if not re.fullmatch(r"FG_[A-Z0-9_]+", name) or name in self.symbols:
                table.error(f'"{name}" is no parameter\'s name: FG_ and capitals, and no value\'s name', name)
            choose("type", TYPES)
            choose("use", USES)
            choose("enumeration", self.enumerations)
            choose("configuration", CONFIGURATION_USES)
            choose("trigger_set", TRIGGER_SETS)
            used.add(parameter.enumeration)
            parameter.description = fields.get("description", "")
            parameter.notes = " ".join(fields.get("notes", "").split())
            parameter.identifier = identifier = fields.get("identifier", 0)
            if "identifier" in fields and not 0 < identifier <= HIGHEST_IDENTIFIER:
                error(f"identifiers run from 1 to {HIGHEST_IDENTIFIER}", "identifier")
            elif identifiers.setdefault(identifier, name) != name and identifier != 0:
                error(f"{identifier} stands twice: {identifiers[identifier]} has it, too", "identifier")

            self.read_display(table, parameter, fields)
            self.read_limits(table, parameter, fields)
            self.read_initial(table, parameter, fields)
            if parameter.enumeration and (not parameter.is_integer or parameter.limits or not parameter.category):
                error("an enumeration is for displayed integers without limits", "enumeration")
            if parameter.configuration and (parameter.use != "settable" or parameter.type == "lut entry"):
                error("a configuration holds settable numbers and texts alone", "configuration")
            if parameter.trigger_set and not parameter.is_settable:
                error("only what can be set belongs to a trigger set", "trigger_set")
        enumerations = self.enumerations.keys() - used
        for name in enumerations:
            table.error(f'no parameter has the enumeration "{name}"')

    def read_display(self, table, parameter, fields):
        place = (parameter.name, "display")
        display = fields.get("display")
        parameter.access = fields.get("access", 7 if parameter.is_settable else 1)
        if not 0 < parameter.access <= 7 or parameter.is_settable != bool(parameter.access & WRITABLE):
            table.error("access flags: 1 for what is read, 3 or 7 for what can be set", parameter.name, "access")
        if "filter" in fields:
            parameter.filter = fields["filter"]
        if display is None:
            if parameter.filter is not None:
                table.error("a filter belongs to a displayed text", parameter.name, "filter")
            return
        values = table.fields(display, {"category": [str], "name": [str], "level": [int]}, *place)
        table.require(values, ["category", "name"], display, *place)
        parameter.category = values.get("category", "")
        parameter.shown = values.get("name", "")
        parameter.level = values.get("level", 1)
        if "category" in values and parameter.category not in self.categories:
            table.error(f'unknown category "{parameter.category}"; orders.toml lists them', *place)
        if parameter.level not in (1, 2):
            table.error("the level is 1 or 2", *place)
        if (parameter.type == "text") != (parameter.filter is not None) or parameter.type == "lut entry":
            table.error("displayed are numbers, and texts with a filter for file names", *place)

    def read_limits(self, table, parameter, fields):
        place = (parameter.name, "limits")
        parameter.unit = fields.get("unit", "")
        if parameter.unit and not parameter.is_number:
            table.error("only numbers have a unit", parameter.name, "unit")
        if "limits" not in fields:
            return
        kinds = [int] if parameter.is_integer else [int, float]
        step_kinds = kinds if parameter.is_integer else [*kinds, str]
        known = {"minimum": kinds, "maximum": kinds, "step": step_kinds}
        limits = table.fields(fields["limits"], known | {"moving": [str]}, *place)
        table.require(limits, known, fields["limits"], *place)
        parameter.moving = limits.pop("moving", None)
        if parameter.moving not in (None, "minimum", "maximum"):
            table.error('what moves is the "minimum" or the "maximum"', *place)
        if not parameter.is_number:
            table.error("only numbers have limits", *place)
        if len(limits) != len(known):
            return
        minimum, maximum, step = (limits[name] for name in known)
        if minimum > maximum:
            table.error(f"the minimum {minimum} is above the maximum {maximum}", *place)
        if step != "continuous" and (isinstance(step, str) or step <= 0):
            table.error('the step is a positive number, or "continuous"', *place)
        low, high = INTEGER_LIMITS.get(parameter.type, (-math.inf, math.inf))
        if minimum < low or maximum > high:
            table.error(f"limits beyond those of {parameter.type}", *place)
        parameter.limits = (minimum, maximum, step)

    def read_initial(self, table, parameter, fields):
        place = (parameter.name, "initial")
        value = fields.get("initial")
        if value is None:
            if parameter.use == "settable" and parameter.is_number:
                table.error('"initial" is missing', parameter.name)
            return
        if not parameter.is_settable or not parameter.is_number:
            table.error("only numbers that can be set have an initial value", *place)
        elif parameter.enumeration:
            parameter.initial = value
            entries = [entry.name for entry in self.enumerations[parameter.enumeration]]
            if value not in entries:
                table.error(f"the initial value is not one of {', '.join(entries)}", *place)
        elif isinstance(value, str) or (parameter.is_integer and isinstance(value, float)):
            table.error(f"the initial value is not of type {parameter.type}", *place)
        else:
            parameter.initial = value
            if parameter.limits and not parameter.limits[0] <= value <= parameter.limits[1]:
                table.error(f"the initial value {value} is beyond the limits", *place)

    def read_orders(self, table):
        parameters = self.parameters.values()
        # What each list has to hold, and whether it has to hold all of that.
        lists = {
            "registry": ({p.name for p in parameters}, True),
            "categories": (set(self.categories), True),
            "information": ({p.name for p in parameters if p.category is not None}, True),
            "configuration": ({p.name for p in parameters if p.configuration}, True),
            "load": ({p.name for p in parameters if p.configuration and p.configuration != "kept"}, True),
            "initial_settings": ({p.name for p in parameters if p.initial is not None}, False),
        }
        for name in table.data.keys() - lists.keys():
            table.error(f'unknown list "{name}"; known are {", ".join(lists)}', "", name)
        for name, (members, complete) in lists.items():
            order = table.data.get(name)
            if not isinstance(order, list) or not all(isinstance(item, str) for item in order):
                table.error(f'"{name}" has to be a list of names', "", name)
                continue
            self.orders[name] = order
            seen = set()
            for item in order:
                if item in seen:
                    table.error(f'"{item}" stands twice in "{name}"', "", name, item)
                elif item not in members:
                    what = "does not belong into" if item in self.parameters else "is unknown in"
                    table.error(f'"{item}" {what} "{name}"', "", name, item)
                seen.add(item)
                parent = item.rpartition(SEPARATOR)[0]
                if name == "categories" and parent and parent not in seen:
                    table.error(f'"{item}" stands before "{parent}"', "", name, item)
            for item in sorted(members - seen) if complete else []:
                table.error(f'"{item}" is missing in "{name}"', "", name)

    def ordered(self, name):
        return [self.parameters[item] for item in self.orders[name]]

    def enumerators(self, parameter):
        return self.enumerations[parameter.enumeration]

    def initial_number(self, parameter):
        if parameter.enumeration:
            return next((e.value for e in self.enumerators(parameter) if e.name == parameter.initial), 0)
        return parameter.initial or 0


def plain(number):
    """A number as readers and compilers take it: 62500000, not 6.25e+07; 0.016."""
    if isinstance(number, float) and number.is_integer() and abs(number) < 1e15:
        number = int(number)
    return repr(number)


def values_text(tables, parameter):
    """What values a parameter takes: "16 to 8192 pixel in steps of 16", "FG_ON (1) or FG_OFF (0)"."""
    if parameter.enumeration:
        entries = [f"{entry.name} ({entry.value})" for entry in tables.enumerators(parameter)]
        return " or ".join([", ".join(entries[:-1]), entries[-1]] if len(entries) > 1 else entries)
    if parameter.filter is not None:
        return f"a file name ({parameter.filter})"
    if parameter.type == "lut entry":
        return "entries 0 to 4095 with values 0 to 4095"
    if not parameter.limits:
        return ""
    minimum, maximum, step = parameter.limits
    unit = " " + parameter.unit if parameter.unit else ""
    if minimum == maximum:
        return f"only {plain(minimum)}{unit}"
    steps = f" in steps of {step}" if parameter.is_integer and step > 1 else ""  # others are rounded, not refused
    return f"{plain(minimum)} to {plain(maximum)}{unit}{steps}"


def initial_text(parameter):
    """What a settable number begins with: "1024", "FG_ON"; nothing for all else."""
    if parameter.initial is None:
        return ""
    return parameter.initial if parameter.enumeration else plain(parameter.initial)


MADE_BY = "Made from the tables in parameters/ by the build."


def parameter_ids(tables):
    """parameter_ids.h"""
    c_types = {"uint32": "uint32_t", "int32": "int32_t", "float64": "double", "text": "text", "lut entry": "LutEntry"}
    rows = []
    for parameter in tables.ordered("registry"):
        values = values_text(tables, parameter).replace("/*", "").replace("*/", "")
        access = "" if parameter.is_settable else ", read-only"
        comment = f"{c_types[parameter.type]}{access}{': ' + values if values and not parameter.filter else ''}"
        rows.append(f"    {parameter.name} = {parameter.identifier}, /**< {comment} */")
    body = "\n".join(rows)
    return f"""#ifndef ZANTOR_OBVELLINE_QX4_RK_PARAMETER_IDS_H
#define ZANTOR_OBVELLINE_QX4_RK_PARAMETER_IDS_H

/* {MADE_BY} */

/**
 * Identifiers of the fixed parameters, each with the type of its value and its widest limits. Limits may follow other
 * parameters: Fg_getParameterInfo tells what holds now, and what the parameter does.
 */
enum FgParameterId {{
{body}
}};

/** Where the identifiers of direct-access parameters start: a "DRA_" parameter is this plus its register address, ...
 */
enum {{ FG_DIRECT_REGISTER_BASE = {HIGHEST_IDENTIFIER} }};
/** ... and a "DZEA_" parameter is this plus the runtime's identifier of the design parameter. */
enum {{ FG_DIRECT_DESIGN_BASE = {2 * HIGHEST_IDENTIFIER} }};

#endif
"""


def public_enumerations(tables):
    """enumerations.h"""
    rows = []
    defined = set()
    for name, entries in tables.enumerations.items():
        users = [p.name for p in tables.ordered("registry") if p.enumeration == name]
        rows.append(f"    /* {name}: {', '.join(users)} */")
        for entry in entries:
            if entry.name in defined:
                rows.append(f"    /* {entry.name} as above */")
            else:
                rows.append(f"    {entry.name} = {entry.value}, /**< {entry.text} */")
            defined.add(entry.name)
    body = "\n".join(rows)
    return f"""#ifndef ZANTOR_OBVELLINE_QX4_RK_ENUMERATIONS_H
#define ZANTOR_OBVELLINE_QX4_RK_ENUMERATIONS_H

/* {MADE_BY} */

/** Values of the enumerated parameters (FG_ON, ATM_GENERATOR, ...); a name that two of them share is defined once. */
enum FgEnumerationValue {{
{body}
}};

#endif
"""


def quoted(text):
    return json.dumps(text, ensure_ascii=False)


def rows(tables):
    """rows.h"""
    lines = []
    add = lines.append
    add("namespace enumerations {")
    add("namespace entries {")
    for name, entries in tables.enumerations.items():
        add(f"inline constexpr Enumerator {name}[] = {{")
        lines.extend(f"    {{{quoted(entry.text)}, {entry.value}, {quoted(entry.name)}}}," for entry in entries)
        add("};")
    add("} // namespace entries")
    add("")
    lines.extend(f"inline constexpr Enumeration {name}{{entries::{name}}};" for name in tables.enumerations)
    add("} // namespace enumerations")
    add("")
    add("inline constexpr const Enumeration* allEnumerations[] = {")
    lines.extend(f"    &enumerations::{name}," for name in tables.enumerations)
    add("};")
    add("")
    add("/** Every category, in the order of the tree: a category stands before what is inside. */")
    add(f"inline constexpr Category categories[{len(tables.orders['categories'])}] = {{")
    for path in tables.orders["categories"]:
        parent, _, name = path.rpartition(SEPARATOR)
        above = f"&categories[{tables.orders['categories'].index(parent)}]" if parent else "nullptr"
        add(f"    {{{quoted(name)}, {above}}},")
    add("};")
    add("")
    add("/** A row for each parameter. */")
    add("namespace rows {")
    for parameter in tables.ordered("registry"):
        add(f"inline constexpr RowOf<{CPP_TYPES[parameter.type]}> {parameter.name}{{{{")
        lines.extend(f"    .{field} = {value}," for field, value in row_fields(tables, parameter))
        add("}};")
    add("} // namespace rows")
    add("")
    add("/** Rows in the orders that callers see. */")
    add("namespace orders {")
    for name, row_list in {
        "registry": tables.ordered("registry"),
        "information": tables.ordered("information"),
        "configuration": tables.ordered("configuration"),
        "load": tables.ordered("load"),
        "initialSettings": tables.ordered("initial_settings"),
    }.items():
        add(f"inline constexpr const Row* {name}[] = {{")
        lines.extend(f"    &rows::{parameter.name}," for parameter in row_list)
        add("};")
    add("} // namespace orders")
    body = "\n".join(lines)
    return f"""#pragma once

// {MADE_BY}

#include "parameters/enumerations.h"
#include "parameters/row.h"

namespace qelm::parameters {{

{body}

}} // namespace qelm::parameters
"""


def row_fields(tables, parameter):
    yield "name", quoted(parameter.name)
    yield "id", parameter.identifier
    yield "description", quoted(parameter.description)
    yield "type", f"ValueType::{TYPES[parameter.type]}"
    yield "use", f"Use::{USES[parameter.use]}"
    if parameter.category is not None:
        yield "category", f"&categories[{tables.orders['categories'].index(parameter.category)}]"
        yield "displayName", quoted(parameter.shown)
    if parameter.level != 1:
        yield "level", parameter.level
    yield "access", parameter.access
    if parameter.enumeration:
        yield "enumeration", f"&enumerations::{parameter.enumeration}"
    if parameter.limits:
        minimum, maximum, step = parameter.limits
        yield "minimum", plain(minimum)
        yield "maximum", plain(maximum)
        yield "step", "continuous" if step == "continuous" else plain(step)
    if parameter.moving:
        yield "moving", f"Moving::{parameter.moving}"
    if parameter.unit:
        yield "unit", quoted(parameter.unit)
    if parameter.filter is not None:
        yield "filter", quoted(parameter.filter)
    if number := tables.initial_number(parameter):
        yield "initial", plain(number)
    if parameter.configuration:
        yield "configuration", f"ConfigurationUse::{CONFIGURATION_USES[parameter.configuration]}"
    if parameter.trigger_set:
        yield "triggerSet", f"TriggerSet::{TRIGGER_SETS[parameter.trigger_set]}"


def kind(parameter):
    if parameter.enumeration:
        return "enumeration"
    if parameter.filter is not None:
        return "file name"
    kinds = {"float64": "floating point", "text": "text", "lut entry": "lookup table entry"}
    return kinds.get(parameter.type, "integer")


def reference(tables):
    """docs/parameters.md"""

    def cell(text):
        return re.sub(r"([|*<])", r"\\\1", text)

    lines = [
        "# Parameters",
        "",
        "The fixed parameters of the applet by category, as `qelm list --markdown` prints them. Limits are the widest;"
        " some follow",
        "other parameters, and `qelm describe NAME` tells what holds now. Nothing is said where no range is stated."
        " Initial is",
        "what a settable number holds once the applet has started; texts begin empty.",
    ]
    for category in [*tables.orders["categories"], None]:
        members = [p for p in tables.ordered("registry") if p.category == category]
        if not members:
            continue
        lines += [
            "",
            f"## {category or 'In no category'}",
            "",
            "| Name | Identifier | Shown as | Kind | Values | Initial | Access | Description |",
            "|---|---|---|---|---|---|---|---|",
        ]
        for p in members:
            access = "read and write" if p.is_settable else "read-only"
            values = cell(values_text(tables, p))
            lines.append(
                f"| `{p.name}` | {p.identifier} | {cell(p.shown)} | {kind(p)} | {values} | {initial_text(p)} | {access} "
                f"| {cell(p.description)} |"
            )
        for p in members:
            if p.notes:
                lines += ["", *textwrap.wrap(f"`{p.name}`: {p.notes}", 120)]
    return "\n".join(lines) + "\n"


def reference_header(tables):
    """reference.h"""
    notes = "\n".join(f"    {{{quoted(p.name)}, {quoted(p.notes)}}}," for p in tables.ordered("registry") if p.notes)
    return f"""#pragma once

// {MADE_BY}

#include <string_view>

namespace qelm::parameters {{

/** The reference of the parameters as Markdown. */
inline constexpr const char* reference = R"reference({reference(tables)})reference";

/** What there is to know beyond a parameter's description. */
struct Notes {{
    std::string_view name;
    std::string_view text;
}};
inline constexpr Notes notes[] = {{
{notes}
}};

}} // namespace qelm::parameters
"""


def write(path, text):
    """Leaves a file that holds the text already as it is, so that nothing is built anew for a changed comment."""
    path.parent.mkdir(parents=True, exist_ok=True)
    if not path.is_file() or path.read_bytes() != text.encode():
        path.write_text(text, encoding="utf-8", newline="\n")


def main(words=None):
    folder = pathlib.Path(__file__).parent
    parser = argparse.ArgumentParser(description="Makes headers, rows and the reference from the parameter tables.")
    parser.add_argument("--tables", type=pathlib.Path, default=folder, help="folder of the tables, if another one")
    parser.add_argument("output", type=pathlib.Path, help="folder to write to")
    arguments = parser.parse_args(words)
    tables = Tables(arguments.tables)
    if tables.errors:
        print("\n".join(tables.errors), file=sys.stderr)
        return 1
    try:
        public = arguments.output / "include" / "zantor_obvelline_qx4_rk"
        write(public / "parameter_ids.h", parameter_ids(tables))
        write(public / "enumerations.h", public_enumerations(tables))
        write(arguments.output / "src" / "parameters" / "rows.h", rows(tables))
        write(arguments.output / "src" / "parameters" / "reference.h", reference_header(tables))
        write(arguments.output / "parameters.md", reference(tables))
    except OSError as error:
        print(f"{parser.prog}: {error.filename}: {error.strerror}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
