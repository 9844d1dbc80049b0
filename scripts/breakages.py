"""Finds the places of a C++ source where scripts/mutation breaks it. It reads tokens and braces, not the language: what does
not compile once broken is left to the compiler."""
import hashlib
import os
import re
from dataclasses import dataclass

NOT_CODE = re.compile(r"""//[^\n]*|/\*.*?\*/|R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|'(?:\\[^'\n]+|[^'\\\n])'"""
                      r"""|^[ \t]*\#(?:\\\n|[^\n])*""", re.S | re.M)
TEMPLATE = re.compile(r"template\s*<[^{}]*?>\s*(?=[\w\[:])")
SCOPE = re.compile(r'(?:\[\[.*?\]\]\s*)?(?:inline\s+)?(?:class|struct|enum|union|namespace)\b(?![^{]*\))|extern\s+"+\s*$', re.S)
LAMBDA = re.compile(r"\[[^\[\]]*\]\s*(?:\((?:[^()]|\([^()]*\))*\))?\s*(?:mutable|noexcept|->[^{;]*|\s)*$")
BODY = re.compile(r"(?:^|[)}:]|\belse|\bdo|\btry)\s*(?:const|noexcept|override|final|&|->[^{;]*|\s)*$")
FUNCTION = re.compile(r"((?:\w+::)*(?:~?\w+|operator\S+))\s*\(")
HEAD = re.compile(r"\s*(?:case\b(?:[^:;{}]|::)*:|default:|(?:else|do)\b|(?P<paren>if|while|for|switch)\s*(?:constexpr\s*)?(?=\())")
DECLARATION = re.compile(r"(?:const|constexpr|static|auto|using|typedef|extern|friend|struct|static_assert)\b"
                         r"|[\w:]+(?:<.*>)?(?:::\w+)?[ &*]+\w+\s*(?:[=({;\[]|$)", re.S)
COMPARISON = re.compile(r"(?<=\s)(==|!=|<=|>=|<|>)(?=\s)")
TURNED = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">"}
CONDITION = re.compile(r"\b(?:if|while)\s*\(")
NUMBER = re.compile(r"(?<![\w.'\"])(0[xX][0-9a-fA-F']+|\d[\d']*)(?=(?:\.\d+)?(?:[uUlLzZ]*|ms|s)\b)")
LOG = re.compile(r"\b\w*Log\s*\(")
EMPTY = {"", "{}", "nullptr", "std::nullopt", '""', "0", "*this"}


@dataclass(frozen=True)
class Breakage:
    """One place and what stands there afterwards."""
    file: str
    line: int
    start: int
    end: int
    original: str
    replacement: str
    kind: str
    function: str
    text: str  # the line of the place
    nth: int  # its number among breakages that are otherwise equal

    def identity(self):
        """Stays the same when the file moves to another folder or changes elsewhere."""
        return (os.path.basename(self.file), self.function, self.kind, self.text, self.nth)

    def rank(self, seed):
        """Where it stands in the order of the seed, which hangs on nothing but its own line and function."""
        return hashlib.sha256("\t".join(map(str, (seed, *self.identity()))).encode()).hexdigest()


def masked(text):
    """The text without comments and directives, with its literals filled up; every character keeps its place."""
    def blank(match):
        fill = '"' if match[0][0] in "\"'R" else " "
        return re.sub(r"[^\n]", fill, match[0])
    return NOT_CODE.sub(blank, text)


def closing(code, opening):
    """The place of the parenthesis that closes this one."""
    depth = 0
    for at in range(opening, len(code)):
        depth += {"(": 1, ")": -1}.get(code[at], 0)
        if depth == 0:
            return at
    return len(code)


class Walk:
    """Goes through the braces of a source and collects statements and bodies of functions."""

    def __init__(self, code):
        self.code = code
        self.statements = []  # (start, end)
        self.bodies = []  # (start, end, name of the function)
        stack = [("scope", "", 0, 0)]  # kind, function, where it opens, where its current statement starts
        for at, c in enumerate(code):
            if c in "([":
                stack.append(("group", stack[-1][1], at, at + 1))
            elif c == "{":
                stack.append((*self.opened(stack, code[stack[-1][3]:at].strip()), at, at + 1))
            elif c in ")]}" and len(stack) > 1:
                kind, function, opening, _ = stack.pop()
                if kind == "body" and stack[-1][0] == "scope":
                    self.bodies.append((opening, at, function))
                if kind in ("body", "scope"):
                    stack[-1] = (*stack[-1][:3], at + 1)
            elif c == ";":
                if stack[-1][0] in ("body", "lambda"):
                    self.statements.append((stack[-1][3], at))
                stack[-1] = (*stack[-1][:3], at + 1)

    @staticmethod
    def opened(stack, header):
        """What a brace behind this text opens, and the function that it belongs to."""
        outer, function = stack[-1][:2]
        header = TEMPLATE.sub("", header)
        if SCOPE.match(header):
            return "scope", function
        if LAMBDA.search(header):
            return "lambda", function
        if outer in ("group", "init") or not BODY.search(header):
            return "init", function
        if outer == "scope":
            name = FUNCTION.search(header)
            return "body", name[1] if name else function
        return "body", function

    def function(self, at):
        return next((name for start, end, name in self.bodies if start <= at <= end), "")


def behind_heads(code, start, end):
    """Where a statement starts behind its labels and the heads of if, for and while."""
    while match := HEAD.match(code, start, end):
        start = closing(code, match.end()) + 1 if match["paren"] else match.end()
    return start + len(code[start:end]) - len(code[start:end].lstrip())


def one_equality(expression):
    """Whether turning its comparison is the same as negating the whole."""
    return len(COMPARISON.findall(expression)) == 1 and not re.search(r"&&|\|\||\?|\s[<>]=?\s", expression)


def changed_return(value, original):
    if value in ("true", "false"):
        return "false" if value == "true" else "true"
    if value in EMPTY or value.isdigit() or one_equality(value):
        return None
    logical = value.startswith("!") or re.search(r"&&|\|\|", value) or COMPARISON.search(value)
    return f"!({original})" if logical and "?" not in value and "{" not in value else "{}"


def statements(text, code, walk):
    for start, end in walk.statements:
        start = behind_heads(code, start, end)
        statement = code[start:end]
        if match := re.match(r"return\b\s*", statement):
            start += match.end()
            value = changed_return(code[start:end].strip(), text[start:end])
            if value is not None:
                yield "return", start, end, value
        elif statement and not DECLARATION.match(statement):
            yield "statement", start, end, ""


def conditions(text, code):
    for match in CONDITION.finditer(code):
        opening, end = match.end() - 1, closing(code, match.end() - 1)
        start = max(opening, code.rfind(";", opening, end)) + 1
        condition = code[start:end].strip()
        if condition and not DECLARATION.match(condition) and not one_equality(condition):
            yield "condition", start, end, f"!({text[start:end].strip()})"


def constants(code):
    logs = [(match.end(), closing(code, match.end() - 1)) for match in LOG.finditer(code)]
    for match in NUMBER.finditer(code):
        if any(start <= match.start() <= end for start, end in logs):
            continue  # a line number in a log message
        digits = match[1].replace("'", "")
        if digits.lower().startswith("0x"):
            digits = hex(int(digits, 16) + 1)
        elif digits.startswith("0") and digits.isdigit() and len(digits) > 1:
            digits = f"0{int(digits, 8) + 1:o}"
        else:
            digits = str(int(digits) + 1)
        yield "constant", match.start(1), match.end(1), digits


def breakages(file, text):
    """Every breakage of this source, in no order that means anything."""
    code = masked(text)
    walk = Walk(code)
    found = [("comparison", m.start(), m.end(), TURNED[m[1]]) for m in COMPARISON.finditer(code)]
    found += [*conditions(text, code), *constants(code), *statements(text, code, walk)]
    alike = {}
    for kind, start, end, replacement in sorted(found, key=lambda each: each[1]):
        line_start = text.rfind("\n", 0, start) + 1
        line = " ".join(text[line_start:text.find("\n", start)].split())
        function = walk.function(start)
        nth = alike[kind, function, line] = alike.get((kind, function, line), 0) + 1
        replacement += "\n" * text.count("\n", start, end)  # later lines keep their numbers
        yield Breakage(file, text.count("\n", 0, start) + 1, start, end, text[start:end], replacement, kind, function,
                       line, nth)
