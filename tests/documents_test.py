"""Reads the documents as their readers do: every link leads somewhere, every command is one that the
tree has, and the diagnostic lines are those that the sources write.

    python3 tests/documents_test.py [--list-lines]
"""

import json
import pathlib
import re
import subprocess
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENTS = sorted([*ROOT.glob("*.md"), *ROOT.glob("docs/*.md"), *ROOT.glob("*/README.md")])
NO_PRODUCT = {"bench", "build", "cmake", "docs", "examples", "packaging", "soak", "standins", "tests",
              "tools", "tvntrace"}


def text_of(path):
    return path.read_text(encoding="utf-8")


def name_of(path):
    return str(path.relative_to(ROOT))


# ---- links


def anchors(path):
    """The names that a heading gets where Markdown is shown."""
    names, seen = set(), {}
    for heading in re.findall(r"^#+ +(.+?) *$", without_code(text_of(path)), re.M):
        plain = re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", heading).lower()
        name = re.sub(r"[^\w\- ]", "", plain).replace(" ", "-")
        seen[name] = seen.get(name, -1) + 1
        names.add(name if seen[name] == 0 else f"{name}-{seen[name]}")
    return names


def without_code(text):
    return re.sub(r"^ *```.*?^ *```", "", text, flags=re.M | re.S)


def links(path):
    return re.findall(r"!?\[[^]]*\]\(([^)\s]+)\)", re.sub(r"`[^`\n]*`", "", without_code(text_of(path))))


# ---- commands


def commands(path):
    """The lines of the code blocks with what is typed: those of the shell, and those that are nothing
    special and begin with a command that is known here."""
    for language, block in re.findall(r"^ *```(\w*)\n(.*?)^ *```", text_of(path), re.M | re.S):
        for line in re.sub(r"\\\n\s*", "", block).splitlines():
            if line.strip() and (language == "sh" or language == "" and wrong_with(line) != UNKNOWN):
                yield line.strip()


UNKNOWN = "no rule says how to check it"
OF_WINDOWS = {"reg", "tasklist", "taskkill", "msiexec"}


def wrong_with(command):
    """What is wrong with a command, or None."""
    command = re.sub(r"^(\w+=\S+ )+", "", command)
    words = [word.strip("'\"") for word in command.split()]
    rules = {
        "cmake": wrong_with_cmake,
        "ctest": wrong_with_cmake,
        "cscript": lambda w: wrong_with_files([x for x in w if re.search(r"\.(vbs|js)$", x)]),
        "regsvr32": lambda w: None if w[-1] == "talvern.dll" else "no such server",
        "tvntrace": lambda w: wrong_with_options(w, "tvntrace", "*.cpp"),
    }
    if not words:
        return UNKNOWN
    if re.fullmatch(r"x86_64-w64-mingw32-g(cc|\+\+)-posix", words[0]):
        if not (ROOT / "build/release/Interface/generated").is_dir():
            return None
        ran = subprocess.run(words, cwd=ROOT, capture_output=True, text=True, check=False)
        return ran.stderr or None
    words = words[1:] if words[0] in ("python3", "bash") else words
    if words[0].startswith(("tools/", "docs/", "tests/")):
        program = ROOT / words[0]
        if not program.is_file():
            return f"there is no {words[0]}"
        for option in [word for word in words[1:] if word.startswith("--")]:
            if option not in text_of(program):
                return f"{words[0]} does not know {option}"
        return wrong_with_files([x for x in words[1:] if x.startswith("examples/")])
    if words[0] in OF_WINDOWS:
        return None
    return rules[words[0]](words) if words[0] in rules else UNKNOWN


def wrong_with_cmake(words):
    presets = json.loads(text_of(ROOT / "CMakePresets.json"))
    known = {p["name"] for kind in presets.values() if isinstance(kind, list) for p in kind}
    for option, value in zip(words, words[1:]):
        if option == "--preset" and value not in known:
            return f"there is no preset {value}"
    return None


def wrong_with_files(names):
    for name in names:
        found = [ROOT / name, *ROOT.glob(f"examples/**/{pathlib.PurePath(name).name}")]
        if name != "first.vbs" and not any(path.is_file() for path in found):
            return f"there is no {name}"
    return None


def wrong_with_options(words, folder, sources):
    known = "".join(text_of(path) for path in (ROOT / folder).glob(sources))
    for option in [word for word in words[1:] if word.startswith("--")]:
        if option not in known:
            return f"{words[0]} does not know {option}"
    return None


# ---- diagnostic lines

LITERAL = r'"((?:[^"\\]|\\.)*)"'
GROUP = r'(?:"(?:[^"\\]|\\.)*"\s*)+'


def plain(line):
    """A format, or a line of the document, with three dots for whatever is filled in."""
    line = line.replace("\\\\", "\\").replace('\\"', '"')
    return re.sub(r"%[-0-9.]*[a-zA-Z]", "...", line).strip()


def lines_of_sources():
    """What the product can write: {(level, text): where}."""
    found = {}
    folders = [p for p in ROOT.iterdir() if p.is_dir() and p.name not in NO_PRODUCT
               and not p.name.startswith(".")]
    for path in sorted(source for folder in folders for source in folder.glob("**/*.cpp")):
        code = text_of(path)
        for call in re.finditer(r"\bLog(Debug|Error|Protocol)\(((?:" + GROUP + r"|[^,;\"])*)", code):
            constant = re.search(r"\b" + call[2].strip() + r"(?:\[\])? =([^;]*);", code) \
                if re.fullmatch(r"\s*\w+", call[2]) else None
            for group in re.finditer(GROUP, constant[1] if constant else call[2]):
                found[call[1], plain("".join(re.findall(LITERAL, group[0])))] = name_of(path)
    return found


def lines_of_document():
    """The first column of the tables below the heading of each level."""
    levels = {"Steps": "Protocol", "Details": "Debug", "Failures": "Error"}
    found = set()
    for title, section in re.findall(r"^## (\w+)\n(.*?)(?=^## |\Z)", text_of(ROOT / "docs/diagnostics.md"),
                                     re.M | re.S):
        if title in levels:
            for line in re.findall(r"^\| `([^`]+)` \|", section, re.M):
                found.add((levels[title], plain(line.replace("\\|", "|"))))
    return found


class Documents(unittest.TestCase):
    def test_every_link_leads_to_a_file_and_to_a_heading_of_it(self):
        count = 0
        for document in DOCUMENTS:
            for link in links(document):
                if re.match(r"[a-z]+:", link):
                    continue
                count += 1
                file, _, anchor = link.partition("#")
                target = (document.parent / file).resolve() if file else document
                with self.subTest(document=name_of(document), link=link):
                    self.assertTrue(target.exists(), "leads nowhere")
                    if anchor:
                        self.assertIn(anchor, anchors(target))
        self.assertGreater(count, 60)

    def test_every_document_is_reached_from_the_first_one(self):
        reached, open_ones = set(), [ROOT / "README.md"]
        while open_ones:
            document = open_ones.pop()
            if document in reached:
                continue
            reached.add(document)
            for link in links(document):
                target = (document.parent / link.partition("#")[0]).resolve()
                if target.suffix == ".md" and target.is_file():
                    open_ones.append(target)
        self.assertEqual([name_of(d) for d in DOCUMENTS if d not in reached], [])

    def test_every_command_is_one_that_the_tree_has(self):
        count = 0
        for document in DOCUMENTS:
            for command in commands(document):
                with self.subTest(document=name_of(document), command=command):
                    self.assertIsNone(wrong_with(command))
                count += 1
        self.assertGreater(count, 15)

    def test_the_diagnostic_lines_are_those_of_the_sources(self):
        sources, document = lines_of_sources(), lines_of_document()
        self.assertGreater(len(sources), 30)
        self.assertEqual({line: where for line, where in sources.items() if line not in document}, {},
                         "not in docs/diagnostics.md")
        self.assertEqual(document - set(sources), set(), "written nowhere")


if __name__ == "__main__":
    if "--list-lines" in sys.argv:
        for (level, line), where in sorted(lines_of_sources().items(), key=lambda item: item[1]):
            print(f"{level}\t{where}\t{line}")
    else:
        unittest.main()
