"""The generator of the parameter tables: what it makes, and what it says of tables that are wrong."""

import contextlib
import importlib.util
import io
import pathlib
import re

import pytest

ROOT = pathlib.Path(__file__).parents[2]

PARAMETERS = """\
[FG_SIZE]
identifier = 7
description = "Size of a thing."
type = "uint32"
use = "settable"
display = { category = "Things / Small", name = "Size", level = 2 }
limits = { minimum = 16, maximum = 64, step = 16 }
unit = "pixel"
initial = 32
configuration = "kept and applied"
trigger_set = "current"

[FG_SHAPE]
identifier = 8
description = ""
type = "int32"
use = "settable"
display = { category = "Things", name = "Shape" }
enumeration = "Shape"
initial = "ROUND"
configuration = "kept"

[FG_AGE]
identifier = 9
description = "Age | so far"
type = "float64"
use = "live"
display = { category = "Things", name = "Age" }
limits = { minimum = 0.5, maximum = 62500000.0, step = "continuous" }

[FG_PAINT]
identifier = 10
description = "Paints it."
type = "text"
use = "settable"
display = { category = "Things", name = "Paint" }
filter = "*.paint"

[FG_HIDDEN]
identifier = 11
description = ""
type = "float64"
use = "read-only"
"""

ENUMERATIONS = """\
[Shape]
ROUND = { value = 4, text = "It is round" }
SQUARE = { value = -1, text = "Square" }
"""

ORDERS = """\
registry = [
    "FG_SHAPE",
    "FG_SIZE",
    "FG_AGE",
    "FG_HIDDEN",
    "FG_PAINT",
]
categories = [
    "Things",
    "Things / Small",
]
information = [
    "FG_SHAPE",
    "FG_SIZE",
    "FG_AGE",
    "FG_PAINT",
]
configuration = [
    "FG_SIZE",
    "FG_SHAPE",
]
load = [
    "FG_SIZE",
]
initial_settings = [
    "FG_SIZE",
]
"""


@pytest.fixture
def tables(tmp_path):
    """A folder of tables that are right."""
    folder = tmp_path / "tables"
    folder.mkdir()
    (folder / "parameters.toml").write_text(PARAMETERS)
    (folder / "enumerations.toml").write_text(ENUMERATIONS)
    (folder / "orders.toml").write_text(ORDERS)
    return folder


def load_generator():
    found = importlib.util.spec_from_file_location("generate", ROOT / "parameters" / "generate.py")
    module = importlib.util.module_from_spec(found)
    found.loader.exec_module(module)
    return module


GENERATOR = load_generator()


def generate(tables, output):
    """What a run of the generator returns and says."""
    said = io.StringIO()
    with contextlib.redirect_stderr(said):
        status = GENERATOR.main(["--tables", str(tables), str(output)])
    return status, said.getvalue()


def change(file, old, new):
    text = file.read_text()
    assert old in text
    file.write_text(text.replace(old, new, 1))


def test_the_reference_in_the_documentation_is_that_of_the_tables(tmp_path):
    assert generate(ROOT / "parameters", tmp_path) == (0, "")
    made = (tmp_path / "parameters.md").read_text(encoding="utf-8")
    committed = (ROOT / "docs" / "parameters.md").read_text(encoding="utf-8")
    assert made == committed, "when the change is meant: scripts/refresh-descriptions"


def test_notes_stand_below_the_table_of_their_category(tables, tmp_path):
    change(tables / "parameters.toml", 'use = "settable"', 'use = "settable"\nnotes = """\nTwo\n"lines".\\\n"""')
    assert generate(tables, tmp_path) == (0, "")
    header = (tmp_path / "src" / "parameters" / "reference.h").read_text()
    name, text = re.search(r'notes\[\] = \{\n    \{"(\w+)", "(.*)"\},\n\};', header).groups()
    assert text == r"Two \"lines\"."
    assert f'\n\n`{name}`: Two "lines".\n' in (tmp_path / "parameters.md").read_text()
    assert "Two" not in (tmp_path / "src" / "parameters" / "rows.h").read_text()  # the applet tells none


def test_headers_for_users(tables, tmp_path):
    assert generate(tables, tmp_path) == (0, "")
    folder = tmp_path / "include" / "zantor_obvelline_qx4_rk"
    ids = (folder / "parameter_ids.h").read_text()
    body = re.search(r"enum FgParameterId \{\n(.*?)\n\};", ids, re.DOTALL)[1]
    assert body.splitlines() == [
        "    FG_SHAPE = 8, /**< int32_t: ROUND (4) or SQUARE (-1) */",
        "    FG_SIZE = 7, /**< uint32_t: 16 to 64 pixel in steps of 16 */",
        "    FG_AGE = 9, /**< double, read-only: 0.5 to 62500000 */",
        "    FG_HIDDEN = 11, /**< double, read-only */",
        "    FG_PAINT = 10, /**< text */",
    ]
    values = (folder / "enumerations.h").read_text()
    assert "    ROUND = 4, /**< It is round */\n    SQUARE = -1, /**< Square */\n" in values


def test_rows_for_the_applet(tables, tmp_path):
    assert generate(tables, tmp_path) == (0, "")
    rows = (tmp_path / "src" / "parameters" / "rows.h").read_text()
    assert '    {"Things", nullptr},\n    {"Small", &categories[0]},\n' in rows
    size = re.search(r"RowOf<std::uint32_t> FG_SIZE\{\{\n(.*?)\n\}\};", rows, re.DOTALL)[1]
    assert [line.strip(" ,") for line in size.splitlines()] == [
        '.name = "FG_SIZE"',
        ".id = 7",
        '.description = "Size of a thing."',
        ".type = ValueType::unsigned32",
        ".use = Use::settable",
        ".category = &categories[1]",
        '.displayName = "Size"',
        ".level = 2",
        ".access = 7",
        ".minimum = 16",
        ".maximum = 64",
        ".step = 16",
        '.unit = "pixel"',
        ".initial = 32",
        ".configuration = ConfigurationUse::keptAndApplied",
        ".triggerSet = TriggerSet::current",
    ]
    assert re.search(r"RowOf<std::int32_t> FG_SHAPE\{\{.*?\.enumeration = &enumerations::Shape,.*?\.initial = 4,", rows, re.DOTALL)
    assert re.search(r"Row\* registry\[\] = \{\s+&rows::FG_SHAPE,\s+&rows::FG_SIZE,", rows)


def test_reference_for_readers(tables, tmp_path):
    assert generate(tables, tmp_path) == (0, "")
    text = (tmp_path / "parameters.md").read_text()
    headings = re.findall(r"^## (.*)", text, re.MULTILINE)
    assert headings == ["Things", "Things / Small", "In no category"]
    assert "| 16 to 64 pixel in steps of 16 | 32 | read and write |" in text
    assert " | ROUND | read and write |" in text
    assert "| `FG_AGE` | 9 | Age | floating point | 0.5 to 62500000 |  | read-only | Age \\| so far |\n" in text
    assert "| `FG_PAINT` | 10 | Paint | file name | a file name (\\*.paint) |  | read and write | Paints it. |\n" in text


# What is changed, and the first line that the generator says then.
MISTAKES = {
    "syntax": ("parameters", "identifier = 8", "identifier = = 8", "parameters.toml:14: Invalid value"),
    "not ended": ("orders", '    "FG_PAINT",\n]', "", "orders.toml:7: Invalid value"),
    "entry twice": ("parameters", "[FG_SHAPE]", "[FG_SIZE]", "parameters.toml:13: Cannot declare ('FG_SIZE',) twice"),
    "field twice": ("parameters", "identifier = 7", "identifier = 7\nuse = 'live'", "parameters.toml:6: Cannot overwr"),
    "unknown field": ("parameters", "unit =", "unti =", 'parameters.toml:8: unknown field "unti"; known are identifi'),
    "unknown inner field": ("parameters", "level =", "levle =", 'parameters.toml:6: unknown field "levle"; known are'),
    "field missing": ("parameters", 'use = "settable"\n', "", 'parameters.toml:1: "use" is missing'),
    "inner field missing": ("parameters", ", step = 16", "", 'parameters.toml:7: "step" is missing'),
    "no table": ("parameters", "[FG_SIZE]", "FG_WIDTH = 3\n[FG_SIZE]", "parameters.toml:1: has to be a table of fi"),
    "text for a number": ("parameters", "= 7", '= "7"', 'parameters.toml:2: "identifier" has to be of type int'),
    "boolean for a number": ("parameters", "= 7", "= true", 'parameters.toml:2: "identifier" has to be of type int'),
    "not finite": ("parameters", "0.5", "nan", 'parameters.toml:29: "minimum" has to be finite'),
    "name": ("parameters", "[FG_SIZE]", "[SIZE]", 'parameters.toml:1: "SIZE" is no parameter\'s name'),
    "identifier twice": ("parameters", "= 8", "= 7", "parameters.toml:14: 7 stands twice: FG_SIZE has it, too"),
    "identifier 0": ("parameters", "= 8", "= 0", "parameters.toml:14: identifiers run from 1 to 1000000"),
    "identifier too large": ("parameters", "= 8", "= 1000001", "parameters.toml:14: identifiers run from 1 to 1000000"),
    "unknown type": ("parameters", '"uint32"', '"uint23"', 'parameters.toml:4: unknown type "uint23"; known are uint32'),
    "unknown use": ("parameters", '"live"', '"alive"', 'parameters.toml:27: unknown use "alive"; known are settable'),
    "unknown category": ("parameters", "/ Small", "/ Smell", 'parameters.toml:6: unknown category "Things / Smell"'),
    "unknown enumeration": ("parameters", '"Shape"\n', '"Shop"\n', 'parameters.toml:19: unknown enumeration "Shop"'),
    "unknown initial value": ("parameters", '"ROUND"', '"FLAT"', "parameters.toml:20: the initial value is not one of R"),
    "unknown configuration": ("parameters", '"kept"', '"lost"', 'parameters.toml:21: unknown configuration "lost"'),
    "unknown trigger set": ("parameters", '"current"', '"new"', 'parameters.toml:11: unknown trigger_set "new"'),
    "minimum above maximum": ("parameters", "= 64", "= 8", "parameters.toml:7: the minimum 16 is above the maximum 8"),
    "no step": ("parameters", "step = 16", "step = 0", "parameters.toml:7: the step is a positive number"),
    "what moves": ("parameters", "= 16 }", '= 16, moving = "up" }', 'parameters.toml:7: what moves is the "minimum" o'),
    "limits of the type": ("parameters", "= 64", "= 4294967296", "parameters.toml:7: limits beyond those of uint32"),
    "fraction as limit": ("parameters", "= 64", "= 64.5", 'parameters.toml:7: "maximum" has to be of type int'),
    "initial value beyond": ("parameters", "= 32", "= 65", "parameters.toml:9: the initial value 65 is beyond the lim"),
    "initial value missing": ("parameters", "initial = 32\n", "", 'parameters.toml:1: "initial" is missing'),
    "initial value of a text": ("parameters", "filter", 'initial = ""\nfilter', "parameters.toml:37: only numbers that"),
    "filter missing": ("parameters", 'filter = "*.paint"', "", "parameters.toml:36: displayed are numbers, and texts w"),
    "access": ("parameters", '"Age" }', '"Age" }\naccess = 7', "parameters.toml:29: access flags: 1 for what is read"),
    "status in a file": ("parameters", '"live"', '"live"\nconfiguration = "kept"', "parameters.toml:28: a configurat"),
    "status in a set": ("parameters", '"live"', '"live"\ntrigger_set = "legacy"', "parameters.toml:28: only what can"),
    "value twice": ("enumerations", "-1", "4", "enumerations.toml:3: 4 stands twice: ROUND has it, too"),
    "value too large": ("enumerations", "-1", "2147483648", "enumerations.toml:3: 2147483648 does not fit in 32 bits"),
    "no name": ("enumerations", "SQUARE", "4SQUARE", 'enumerations.toml:3: "4SQUARE" is no name in C'),
    "text missing": ("enumerations", ', text = "Square"', "", 'enumerations.toml:3: "text" is missing'),
    "unused enumeration": ("enumerations", "[Shape]", "[Form]\nA = { value = 1, text = '' }\n[Shape]", 'no parameter has'),
    "two values": (
        "enumerations",
        "[Shape]",
        "[Form]\nROUND = { value = 1, text = '' }\n[Shape]",
        "enumerations.toml:4: ROUND is 1 in another enumeration",
    ),
    "name missing": ("orders", '    "FG_AGE",\n', "", 'orders.toml:1: "FG_AGE" is missing in "registry"'),
    "unknown name": ("orders", '"FG_AGE"', '"FG_EGA"', 'orders.toml:4: "FG_EGA" is unknown in "registry"'),
    "name twice": ("orders", '"FG_AGE",\n', '"FG_AGE",\n    "FG_AGE",\n', 'orders.toml:5: "FG_AGE" stands twice in "reg'),
    "not for that list": ("orders", "load = [\n", 'load = [\n    "FG_SHAPE",\n', 'orders.toml:23: "FG_SHAPE" does not belon'),
    "category before its parent": ("orders", '"Things",', '"Things / Small / Tiny", "Things",', 'orders.toml:8: "Things / Small / Tiny" st'),
    "unknown list": ("orders", "load = [", "laod = [", 'orders.toml:22: unknown list "laod"; known are registry, cat'),
    "no list": ("orders", 'load = [\n    "FG_SIZE",\n]', "load = 3", 'orders.toml:22: "load" has to be a list of names'),
}


@pytest.mark.parametrize("file, old, new, message", MISTAKES.values(), ids=MISTAKES.keys())
def test_mistakes_are_told_with_file_and_line(tables, tmp_path, file, old, new, message):
    change(tables / f"{file}.toml", old, new)
    status, said = generate(tables, tmp_path / "out")
    assert status == 1
    assert message in said.splitlines()[0]
    assert not (tmp_path / "out").exists()


def test_several_mistakes_are_told_at_once(tables, tmp_path):
    change(tables / "parameters.toml", "minimum = 16", "minimum = 65")
    change(tables / "parameters.toml", "identifier = 9", "identifier = 8")
    lines = generate(tables, tmp_path / "out")[1].splitlines()
    assert [line.rpartition("/")[2].split(": ")[0] for line in lines] == [
        "parameters.toml:7",
        "parameters.toml:9",
        "parameters.toml:24",
    ]


def test_files_that_cannot_be_read_or_written(tables, tmp_path):
    (tmp_path / "file").write_text("")
    assert generate(tables, tmp_path / "file")[0] == 1
    for content in (b"[Shape]\nROUND = { value = 4, text = '\xff' }\n", None):
        (tables / "enumerations.toml").unlink()
        if content is not None:
            (tables / "enumerations.toml").write_bytes(content)
        problem = "enumerations.toml: No such file or directory" if content is None else "enumerations.toml:2: not UTF-8"
        status, said = generate(tables, tmp_path / "out")
        assert (status, said.strip().rpartition("/")[2]) == (1, problem)
