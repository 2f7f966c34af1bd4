#!/usr/bin/env python3
"""Checks that the documents leave nothing of the code out.

Usage: check_documents.py TOP page-api|messages|log|versions
"""
import collections
import pathlib
import re
import sys

TOP = pathlib.Path(sys.argv[1])
STRING = r'"(?:[^"\\]|\\.)*"'
failures = []


def read(path):
    return (TOP / path).read_text(encoding="utf-8")


def expect(holds, text):
    if not holds:
        failures.append(text)


def joined(literals):
    """The adjacent literals of a C++ text as one."""
    return re.sub(r'"\s*"', "", literals)


def page_api():
    """A section and an example for everything that a page can use."""
    page = read("docs/page-api.md")
    examples = collections.Counter(re.findall(r"<!-- example: ([\w-]+)", page))
    code = read("browsers/npapi_common/ovOrvaneWebScriptObject.cpp")
    methods = re.findall(r'\{"(\w+)", &Plugin::', code)
    expect(len(methods) == 27, f"{len(methods)} methods in the table")
    properties = re.findall(r'OWScriptObjectProperty\w+ = "(\w+)";', code)
    expect(len(properties) == 3, f"{len(properties)} properties")
    sections = [f"\n#### `{name}(" for name in methods] + [f"\n### `{name}`\n" for name in properties]
    readers = read("browsers/npapi_common/ovOrvaneWebPlugin.cpp") + read("plugin/src/PlugIn.cpp")
    parameters = set(re.findall(r'(?:params|parameters)\["([a-z-]+)"\]', readers))
    expect(len(parameters) == 8, f"{len(parameters)} parameters are read")
    for section in sections + [f"| [`{parameter}`](" for parameter in parameters]:
        expect(section in page, f"no {section.strip()}")
    for name in methods + properties:
        expect(examples[name] == 1, f"{examples[name]} examples of {name}")


def messages():
    """A row for each message constant."""
    cells = collections.Counter(re.findall(r"\n\| (.*?) \| ", read("docs/troubleshooting.md")))
    code = read("plugin/src/Constants.h")
    texts = re.findall(rf"k(?:Error|Msg)\w+\[\]\s*=\s*((?:{STRING}\s*)+);", code)
    expect(10 < len(texts) == len(re.findall(r"k(?:Error|Msg)\w+\[\]", code)), f"{len(texts)} texts")
    for text in texts:
        cell = joined(text).strip()[1:-1]
        expect(cells[cell] == 1, f"{cells[cell]} rows of {cell}")


def log():
    """A row for each error and note that the module writes."""
    page = read("docs/troubleshooting.md")
    found = 0
    for room in ("plugin/src", "browsers", "os/src", "base/src", "ovlib"):
        for source in sorted((TOP / room).rglob("*.cpp")):
            for literals in re.findall(rf"ov_(?:err|log)\(\s*((?:{STRING}\s*)+)[,)]", source.read_text()):
                text = re.sub(r'^"( |\\n)*|(\\n)?"\s*$', "", joined(literals))
                text = re.sub(r"\\n +", r"\\n ", text)
                # Lines that begin with another text are that text's.
                if not text.startswith("%s") or text == "%s() - invalid arguments":
                    found += 1
                    expect(text in page, f"{source}: {text}")
    expect(found > 50, f"{found} lines")


def versions():
    """The project's version at the top of all that bears one."""
    version = re.search(r"\(orvane_web VERSION ([\d.]+)", read("CMakeLists.txt"))[1]
    bearers = {
        "CHANGELOG.md": rf"\n## {version}\n",
        "packaging/debian/changelog": rf"^orvane-web \({version}-",
        "browsers/webextension/manifest.json": rf'"version": "{version}"',
        "web/orvane-web.mjs": rf"^// Orvane Web {version} ",
    }
    for page in (TOP / "docs/man").iterdir():
        bearers[page] = rf'"Orvane Web {version}"'
    for path, pattern in bearers.items():
        expect(re.search(pattern, read(path)[:400]), f"{path} is not of version {version}")


{"page-api": page_api, "messages": messages, "log": log, "versions": versions}[sys.argv[2]]()
print("\n".join(failures))
sys.exit(1 if failures else 0)
