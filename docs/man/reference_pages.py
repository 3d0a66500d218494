#!/usr/bin/env python3
"""Writes one man page (3) for each exported name, from the XML that Doxygen makes of the headers.

Doxygen's own man output has one page for a file or a group; a reader of man wants one for a function.
A name without documentation, or documentation with an element that no page could show, is an error.
"""
import argparse
import pathlib
import re
import sys
import textwrap
import xml.etree.ElementTree as ElementTree

COLUMNS = 78
LONGEST_TITLE = 30


def escaped(text):
    """Text as roff takes it literally."""
    return text.replace("\\", "\\e").replace("'", "\\(aq").replace("-", "\\-")


def squeezed(text):
    return " ".join(text.split())


def declared(text):
    """A declaration with its asterisks at the names."""
    return re.sub(r" ?(\*+) ?", r" \1", text).strip()


class Page:
    """The man page of one documented member."""

    def __init__(self, member, header, neighbours, names):
        self.member = member
        self.name = member.findtext("name")
        self.header = header
        self.neighbours = neighbours
        self.names = names

    def inline(self, element):
        """The text of an element with its fonts."""
        text = escaped(element.text or "")
        for child in element:
            content = self.inline(child)
            if child.tag == "ref" and child.text in self.names:
                text += f"\\fB{content}\\fP(3)"
            elif child.tag in ("ref", "bold", "computeroutput"):
                text += f"\\fB{content}\\fP"
            elif child.tag == "emphasis":
                text += f"\\fI{content}\\fP"
            else:
                raise SystemExit(f"{self.name}: no rule for <{child.tag}> in its documentation")
            text += escaped(child.tail or "")
        return text

    def paragraph(self, element):
        text = squeezed(self.inline(element))
        return "\\&" + text if text.startswith(".") else text

    def paragraphs(self):
        """The plain paragraphs of the description, without parameters and results."""
        lines = []
        for para in self.member.findall("briefdescription/para") + self.member.findall(
                "detaileddescription/para"):
            plain = ElementTree.Element("para")
            plain.text = para.text
            for child in para:
                if child.tag not in ("parameterlist", "simplesect"):
                    plain.append(child)
            text = self.paragraph(plain)
            if text:
                lines += [".PP"] * bool(lines) + [text]
        return lines

    def items(self, kind, font):
        """The items of a parameter list, as tagged paragraphs."""
        lines = []
        for item in self.member.iterfind(
                f"detaileddescription/para/parameterlist[@kind='{kind}']/parameteritem"):
            name = item.findtext("parameternamelist/parametername")
            text = " ".join(self.paragraph(p) for p in item.findall("parameterdescription/para"))
            lines += [".TP", f"\\f{font}{escaped(name)}\\fP", text]
        return lines

    def result(self):
        lines = []
        for section in self.member.iterfind("detaileddescription/para/simplesect"):
            if section.get("kind") != "return":
                raise SystemExit(f"{self.name}: no rule for section {section.get('kind')}")
            lines += [self.paragraph(p) for p in section]
        return lines + self.items("retval", "B")

    def short_text(self):
        brief = squeezed("".join(self.member.find("briefdescription").itertext())).rstrip(".")
        brief = brief.split(":")[0].split(";")[0]
        return escaped(brief[0].lower() + brief[1:])

    def synopsis(self):
        definition = declared(self.member.findtext("definition"))
        if self.member.get("kind") == "variable":
            return [f"extern {definition};"]
        parameters = [
            declared("".join(p.find("type").itertext()) + " " + p.findtext("declname", ""))
            for p in self.member.findall("param")
        ]
        # A blank that must not be broken at stands as a character of its own.
        text = definition + "(" + ", ".join(p.replace(" ", "\0") for p in parameters) + ");"
        head = definition.replace(" ", "\0")
        indent = " " * (len(head) + 1)
        return [line.replace("\0", " ") for line in textwrap.wrap(
            text.replace(definition, head, 1), COLUMNS, subsequent_indent=indent,
            break_long_words=False, break_on_hyphens=False)]

    def text(self, version, date):
        see_also = [f"\\fB{name}\\fP(3)" for name in self.neighbours if name != self.name]
        sections = [
            ("NAME", [f"{self.name} \\- {self.short_text()}"]),
            ("LIBRARY", ["libmorvaneusd (\\fI\\-lmorvaneusd\\fP)"]),
            ("SYNOPSIS", [".nf", f"\\fB#include <{self.header}>\\fP", "\\&"] +
             [f"\\fB{escaped(line)}\\fP" for line in self.synopsis()] + [".fi"]),
            ("DESCRIPTION", self.paragraphs()),
            ("PARAMETERS", self.items("param", "I")),
            ("RETURN VALUE", self.result()),
            ("SEE ALSO", [".ad l", ".nh", ",\n".join(see_also + ["\\fBlibmorvaneusd\\fP(7)"])]),
        ]
        # A long name leaves no room beside it in head and foot.
        middle, date = (" ", " ") if len(self.name) > LONGEST_TITLE else ("libmorvaneusd", date)
        lines = [
            f'.\\" From the comment in {self.header}: change it there.',
            f'.TH {self.name.upper()} 3 "{date}" "libmorvaneusd {version}" "{middle}"',
        ]
        for title, body in sections:
            if body:
                lines += [f".SH {title}"] + body
        return "\n".join(lines) + "\n"


def members(xml_dir):
    """Each function and variable of the headers: the member, and the names in its group."""
    for kind in ("group", "file"):
        for path in sorted(pathlib.Path(xml_dir).glob("*.xml")):
            compound = ElementTree.parse(path).getroot().find(f"compounddef[@kind='{kind}']")
            if compound is None:
                continue
            found = compound.findall(".//memberdef[@kind='function']") + compound.findall(
                ".//memberdef[@kind='variable']")
            group = [m.findtext("name") for m in found] if kind == "group" else []
            for member in found:
                yield member, group


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--xml", required=True, help="Doxygen's XML")
    parser.add_argument("--output", required=True, help="folder of the pages")
    parser.add_argument("--version", required=True)
    parser.add_argument("--date", required=True)
    parser.add_argument("names", nargs="+", help="the exported names")
    options = parser.parse_args()

    pages = {}
    for member, group in members(options.xml):
        name = member.findtext("name")
        if name in options.names and name not in pages:
            header = member.find("location").get("file")
            pages[name] = Page(member, header, group, options.names)
    missing = [name for name in options.names
               if name not in pages or not pages[name].paragraphs()]
    if missing:
        sys.exit("not documented: " + ", ".join(missing))

    output = pathlib.Path(options.output)
    output.mkdir(parents=True, exist_ok=True)
    for name, page in pages.items():
        (output / f"{name}.3").write_text(page.text(options.version, options.date))


if __name__ == "__main__":
    main()
