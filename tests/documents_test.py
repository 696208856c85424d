"""Reads the documents as their readers do: every link leads somewhere, every command is one that the
tree has, and folders and diagnostic lines are those of the sources.

    python3 tests/documents_test.py [--list-lines]
"""

import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENTS = sorted([*ROOT.glob("*.md"), *ROOT.glob("docs/*.md"), *ROOT.glob("*/README.md")])
NO_PRODUCT = {"bench", "docs", "examples", "tests", "tools", "tvntrace"}


def text_of(name):
    return (ROOT / name).read_text(encoding="utf-8")


def folders():
    return {p.name for p in ROOT.iterdir() if p.is_dir() and not p.name.startswith(".")} - {"build"}


# ---- links


def without_code(text):
    return re.sub(r"^ *```.*?^ *```", "", text, flags=re.M | re.S)


def anchors(document):
    """The names that the headings get where Markdown is shown."""
    plain = (re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", heading).lower()
             for heading in re.findall(r"^#+ +(.+?) *$", without_code(text_of(document)), re.M))
    return [re.sub(r"[^\w\- ]", "", heading).replace(" ", "-") for heading in plain]


def links(document):
    """The documents and headings that a document leads to."""
    prose = re.sub(r"`[^`\n]*`", "", without_code(text_of(document)))
    for link in re.findall(r"!?\[[^]]*\]\(([^)\s]+)\)", prose):
        if not re.match(r"[a-z]+:", link):
            file, _, anchor = link.partition("#")
            yield link, (document.parent / file).resolve() if file else document, anchor


# ---- commands

UNKNOWN = "no rule says how to check it"
OF_WINDOWS = {"reg", "tasklist", "taskkill", "msiexec", "regsvr32"}


def commands(document):
    """What is typed: the lines of the code blocks of the shell; of other blocks and of the code in
    sentences and tables, those that begin with a command that is known here."""
    text = text_of(document)
    for language, block in re.findall(r"^ *```(\w*)\n(.*?)^ *```", text, re.M | re.S):
        for line in re.sub(r"\\\n\s*", "", block).splitlines():
            if line.strip() and (language == "sh" or not language and wrong_with(line) != UNKNOWN):
                yield line.strip()
    for code in re.findall(r"`([^`\n]+ [^`\n]+)`", without_code(text)):
        if wrong_with(code) != UNKNOWN:
            yield code


def wrong_with(command):
    """What is wrong with a command, or None."""
    words = re.sub(r"^(\w+=\S+ |python3 |bash |source )+", "", command.strip()).split()
    options = [word for word in words[1:] if word.startswith("--")]
    if not words:
        return UNKNOWN
    if re.fullmatch(r"x86_64-w64-mingw32-g(cc|\+\+)-posix", words[0]):
        built = (ROOT / "build/release/Interface/generated/Interface.h").is_file()
        return built and subprocess.run(words, cwd=ROOT, capture_output=True, text=True,
                                        check=False).stderr or None
    if words[0] in ("cmake", "ctest"):
        kinds = json.loads(text_of("CMakePresets.json")).values()
        known = " ".join(preset["name"] for kind in kinds if isinstance(kind, list) for preset in kind)
        return next((f"there is no preset {word}" for option, word in zip(words, words[1:])
                     if option == "--preset" and word not in known.split()), None)
    if words[0].startswith(("tools/", "docs/", "tests/")):
        if not (ROOT / words[0]).is_file():
            return f"there is no {words[0]}"
        known = text_of(words[0])
    elif words[0] == "tvntrace":
        known = "--help".join(text_of(path) for path in ROOT.glob("tvntrace/*.cpp"))
    elif words[0] in OF_WINDOWS | {"cscript"}:
        known = " ".join(options)
    else:
        return UNKNOWN
    missing = [option for option in options if option not in known]
    missing += [word for word in words[1:] if re.search(r"\.(vbs|js)$", word)
                and word != "first.vbs" and not (ROOT / word).is_file()]
    return f"there is no {missing[0]}" if missing else None


# ---- calls of the scripting object

SHOW_CALLS = sorted({*DOCUMENTS, *ROOT.glob("examples/*.*s*"), *ROOT.glob("examples/play.[bp]*"),
                     ROOT / "examples/cpp/TalvernClient.h"})
SIGNATURE = r"(?<![\w.>:])(tvn[A-Z]\w+)\((?!\d)([^)]*)\)"
CALL = r"\.(tvn[A-Z]\w+)"


def methods():
    """{method: [(attributes, type, name) of each parameter]} of the scripting interface."""
    parameter = r"\[([^]]*)\] (\w+) (\w+)"  # the result is no parameter here: its type ends with a star
    return {name: re.findall(parameter, parameters) for name, parameters
            in re.findall(r"HRESULT (\w+)\((.*?)\);", text_of("Interface/Interface.idl"), re.S)}


def signature(name, parameters):
    """As the reference shows a method."""
    shown_as = []
    for attributes, kind, parameter in parameters:
        default = re.search(r"defaultvalue\((.*)\)", attributes)
        value = " = " + ("True" if kind == "VARIANT_BOOL" else default[1]) if default else ""
        shown_as.append(f"[{parameter}{value}]" if "optional" in attributes else parameter)
    return f"{name}({', '.join(shown_as)})"


# ---- diagnostic lines

TEXTS = r'(?:"(?:[^"\\]|\\.)*"\s*)+'


def shown(line):
    """A format, or a line of the document, with three dots for whatever is filled in."""
    return re.sub(r"%[-0-9.]*[a-zA-Z]", "...", line.replace("\\\\", "\\").replace('\\"', '"')).strip()


def lines_of_sources():
    """What the product can write: {(level, line): file}."""
    found = {}
    for path in sorted(path for name in folders() - NO_PRODUCT for path in ROOT.glob(name + "/**/*.cpp")):
        code = text_of(path)
        for level, texts in re.findall(r"\bLog(Debug|Error|Protocol)\(((?:" + TEXTS + r'|[^,;"])*)', code):
            if re.fullmatch(r"\s*\w+", texts):  # the name of a constant
                texts = "".join(re.findall(r"\b" + texts.strip() + r" =([^;]*);", code))
            for group in re.findall(TEXTS, texts):
                line = "".join(re.findall(r'"((?:[^"\\]|\\.)*)"', group))
                found[level, shown(line)] = str(path.relative_to(ROOT))
    return found


def lines_of_document():
    """The first column of the tables below the heading of each level."""
    levels = {"Steps": "Protocol", "Details": "Debug", "Failures": "Error"}
    sections = re.findall(r"^## (\w+)\n(.*?)(?=^## |\Z)", text_of("docs/diagnostics.md"), re.M | re.S)
    return {(levels[title], shown(line)) for title, section in sections if title in levels
            for line in re.findall(r"^\| `([^`]+)` \|", section, re.M)}


def remedies():
    """{line of the document: what to do, as plain text}."""
    rows = re.findall(r"^\| `([^`]+)` \| .* \| (.*?) ?\|$", text_of("docs/diagnostics.md"), re.M)
    return {line: re.sub(r"\[([^]]*)\]\([^)]*\)|`", r"\1", remedy) for line, remedy in rows}


def steps_of_viewer():
    """(pattern, step, what to do) of each line that the trace viewer explains."""
    table = re.search(r'kSteps = R"\(\n(.*?)\)"', text_of("tvntrace/Explainer.cpp"), re.S)[1]
    rows = [(row + " |").split(" |") for row in table.splitlines() if not row.startswith("status ")]
    return [(row[0], row[1], row[2]) for row in rows]


class Documents(unittest.TestCase):
    def test_the_examples_that_are_not_run_here_compile(self):
        compile(text_of("examples/play.py"), "play.py", "exec")
        compiler = shutil.which("mcs")
        if not compiler:
            self.skipTest("NOT TESTED: there is no mcs to compile examples/play.cs")
        with tempfile.TemporaryDirectory() as folder:
            ran = subprocess.run([compiler, "-langversion:5", "-warnaserror+", "-r:Microsoft.CSharp",
                                  f"-out:{folder}/play.exe", ROOT / "examples/play.cs"],
                                 capture_output=True, text=True, check=False)
        self.assertEqual((ran.returncode, ran.stdout), (0, ""), ran.stderr)

    def test_every_link_leads_to_a_file_and_to_a_heading_of_it(self):
        count = 0
        for document in DOCUMENTS:
            for link, target, anchor in links(document):
                with self.subTest(document=document.name, link=link):
                    self.assertTrue(target.exists(), "leads nowhere")
                    self.assertIn(anchor, [*anchors(target), ""] if anchor else [""])
                count += 1
        self.assertGreater(count, 60)

    def test_every_source_that_is_named_is_there(self):
        names = r"`((?:" + "|".join(folders()) + r")/[\w/]+)(\.\w+)?`"
        for document in DOCUMENTS:
            for name, suffix in re.findall(names, text_of(document)):
                with self.subTest(document=document.name, source=name + suffix):
                    self.assertTrue([*ROOT.glob(name + (suffix or "*"))])

    def test_every_document_is_reached_from_the_first_one(self):
        reached = set()
        found = {ROOT / "README.md"}
        while found:
            reached |= found
            found = {target for document in found for _, target, _ in links(document)
                     if target.suffix == ".md" and target.is_file()} - reached
        self.assertEqual(set(DOCUMENTS) - reached, set())

    def test_every_command_is_one_that_the_tree_has(self):
        found = [(document.name, command) for document in DOCUMENTS for command in commands(document)]
        self.assertGreater(len(found), 40)
        for document, command in found:
            with self.subTest(document=document, command=command):
                self.assertIsNone(wrong_with(command))

    def test_the_architecture_has_every_folder_and_who_includes_whom(self):
        table = re.findall(r"^\| `(\w+)/` \|", text_of("docs/architecture.md"), re.M)
        self.assertEqual(sorted(table), sorted(folders()))
        known = {name: {name} for name in folders()}
        for left, right in re.findall(r"(\w+) -> (?:\{ )?([\w ]+)", text_of("docs/pictures/folders.dot")):
            known.setdefault(left, {left}).update(right.split())
        for _ in folders():
            for others in known.values():
                others.update(*(known.get(other, ()) for other in set(others)))
        for name in folders() - {"tests", "bench"}:
            for path in [*ROOT.glob(name + "/*.cpp"), *ROOT.glob(name + "/*.h")]:
                for included in re.findall(r'#include "(\w+)/', text_of(path)):
                    with self.subTest(source=str(path.relative_to(ROOT))):
                        self.assertIn(included, known[name])

    def test_the_calls_and_signatures_are_those_of_the_interface(self):
        known, calls = methods(), 0
        self.assertEqual(len(known), 8)
        for path in SHOW_CALLS:
            for method, parameters in re.findall(SIGNATURE, text_of(path)):
                with self.subTest(file=path.name, signature=method):
                    shown_as = re.sub(r"\s+(///)?\s*", " ", parameters)
                    self.assertEqual(f"{method}({shown_as})", signature(method, known.get(method, ())))
            found = re.findall(CALL, text_of(path))
            self.assertLessEqual(set(found), set(known), path.name)
            calls += len(found)
        self.assertGreater(calls, 80)

    def test_the_diagnostic_lines_are_those_of_the_sources(self):
        sources, document = lines_of_sources(), lines_of_document()
        self.assertGreater(len(sources), 30)
        self.assertEqual({line: file for line, file in sources.items() if line not in document}, {},
                         "not in docs/diagnostics.md")
        self.assertEqual(document - set(sources), set(), "written nowhere")

    def test_the_viewer_explains_lines_of_the_document_and_says_what_it_says(self):
        steps = steps_of_viewer()
        self.assertGreater(len(steps), 30)
        general = [re.sub(r"\(null\)|(?<== )0", "*", pattern) for pattern, *_ in steps]
        explained = set()
        for line, remedy in remedies().items():
            for (pattern, step, todo), wide in zip(steps, general):
                if re.fullmatch(re.escape(wide).replace(r"\*", ".*"), line):
                    explained.add(wide)
                    with self.subTest(line=line):
                        self.assertIn(todo, ("", remedy))
                        self.assertLessEqual({int(n) for n in re.findall(r"%[esx]?(\d)", step)},
                                             set(range(1, 1 + pattern.count("*"))))
                    break
        self.assertEqual(set(general) - explained, set(), "written nowhere")


if __name__ == "__main__":
    if "--list-lines" in sys.argv:
        for (level, line), file in sorted(lines_of_sources().items(), key=lambda item: item[1]):
            print(f"{level}\t{file}\t{line}")
    else:
        unittest.main()
