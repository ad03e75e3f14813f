"""The changes that tools/mutate makes of a source.

It works on tokens alone, and relies on the layout of .clang-format: operators stand between spaces, the brackets of
templates do not. Some changes do not compile, such as an empty argument to a template; the run finds out.
"""

import collections
import itertools
import random
import re
import sys

TOKEN = re.compile(
    r"""(?P<space>\s+|//[^\n]*|/\*.*?\*/|\#(?:\\\n|[^\n])*|\[\[[^\[\]]*\]\])
    |(?P<text>(?:u8|[uUL])?(?:R"(?P<mark>[^()\s]*)\(.*?\)(?P=mark)"|"(?:\\.|[^"\\])*"|'(?:\\.|[^'\\])+')\w*)
    |(?P<number>\.?\d(?:[eEpP][+-]|'?[\w.])*)
    |(?P<word>[A-Za-z_]\w*)
    |(?P<sign><=>|<<=|>>=|\.\.\.|->\*?|::|\+\+|--|<<|>>|&&|\|\||[-+*/%&|^<>=!]=|.)""",
    re.VERBOSE | re.DOTALL)
Token = collections.namedtuple("Token", "kind text start end")
Mutant = collections.namedtuple("Mutant", "file line before after start end replacement")

# Instead of an operator between spaces; the layout of the sources gives none to the brackets of templates.
OPERATORS = {"==": ("!=",), "!=": ("==",), "<": ("<=", ">="), ">": (">=", "<="), "<=": ("<", ">"), ">=": (">", "<"),
             "&&": ("||",), "||": ("&&",), "+": ("-",), "-": ("+",), "+=": ("-=",), "-=": ("+=",)}
COMPARISONS = {"==", "!=", "<", ">", "<=", ">="}
ASSIGNMENTS = {"=", "+=", "-=", "*=", "/=", "%=", "&=", "|=", "^=", "<<=", ">>="}
PAIRS = {"(": ")", "[": "]", "{": "}"}
# Statements that begin with one of these are left alone: messages to developers, checks, errors' texts.
LOGGING = re.compile(r"q(C?(Debug|Info|Warning|Critical))|Log[A-Z]\w*")
LEFT_OUT = re.compile(LOGGING.pattern + "|[A-Z]+_[A-Z_]+|static_assert|assert|using|throw")
# Results that are empty already, or that no empty one can take the place of.
EMPTY = re.compile(r"[\d']+|true|false|nullptr|(std::)?nullopt|Q\w+\(\)|\{\}|S_OK|\*this")
CONTROL = {"if", "while", "for", "switch", "catch"}
KEYWORDS = CONTROL | {"return", "sizeof", "noexcept", "decltype", "alignas", "new", "delete", "else", "do", "operator"}


class Source:
    """The tokens of a source: which of them stand in functions, which begin a statement, and what can be changed."""

    def __init__(self, text):
        self.text = text
        self.tokens = [Token(found.lastgroup, found[0], *found.span()) for found in TOKEN.finditer(text)]
        self.tokens = [token for token in self.tokens if token.kind != "space"]
        self.partner = {}  # of each bracket
        self.opened = []  # for each token the innermost bracket around it, or None
        self.scope = {}  # of each opening brace: "function", "values", "enum" or "other"
        around = []
        for i, token in enumerate(self.tokens):
            if token.text in PAIRS.values() and around:
                self.partner[around[-1]] = i
                self.partner[i] = around.pop()
            self.opened.append(around[-1] if around else None)
            if token.text in PAIRS:
                if token.text == "{":
                    self.scope[i] = self.scope_of(i)
                around.append(i)
        self.last = len(self.tokens) - 1
        self.starts = {i for i in range(len(self.tokens)) if self.starts_statement(i)}
        self.skipped = self.find_skipped()

    def word(self, i):
        return self.tokens[i].text if 0 <= i < len(self.tokens) else ""

    def in_function(self, i):
        while (i := self.opened[i]) is not None:
            if self.scope.get(i) == "function":
                return True
        return False

    def scope_of(self, i):
        before = self.word(i - 1)
        head = []
        for token in reversed(self.tokens[:i]):
            if token.text in (";", "{", "}"):
                break
            head.insert(0, token.text)
        if before in (")", "]") or before in ("const", "noexcept", "override", "final", "mutable", "else", "do", "try"):
            return "function"
        if "enum" in head:
            return "enum"
        if self.in_function(i):
            return "function" if before in ("{", "}", ";", ":", "") or "->" in head[-4:-1] else "values"
        if before == "}" and self.scope.get(self.partner.get(i - 1)) == "values":
            return "function"  # the body of a constructor, after the members' values
        if "(" in head:
            return "function" if "->" in head[-4:-1] else "values"
        return "other" if {"namespace", "extern", "class", "struct", "union"} & set(head) else "values"

    def starts_statement(self, i):
        around = self.opened[i]
        if around is None or self.scope.get(around) != "function":
            return False
        before = self.word(i - 1)
        if before == ")":
            control = self.partner[i - 1] - 1
            return self.word(control) in CONTROL or self.word(control) == "constexpr"
        if before == "}":
            return self.scope.get(self.partner[i - 1]) != "values"
        if before == ":":  # of a label, not of a condition
            labels = (k for k in range(i - 1, around, -1) if self.word(k) in ("case", "default", "?", ";", "{", "}"))
            return self.word(next(labels, around)) in ("case", "default")
        return before in (";", "{", "else", "do")

    def end_of_statement(self, i):
        """Its semicolon."""
        while i < self.last and self.word(i) != ";":
            i = self.partner.get(i, i) + 1 if self.word(i) in PAIRS else i + 1
        return i

    def find_skipped(self):
        skipped = set()
        for i, token in enumerate(self.tokens):
            if token.text == "case":
                skipped.update(itertools.takewhile(lambda k: self.word(k) != ":", range(i, self.last)))
            elif self.scope.get(i) == "enum":
                skipped.update(range(i, self.partner.get(i, i)))
            elif token.text == "if" and LOGGING.fullmatch(self.word(self.partner.get(i + 1, i) + 1)):
                skipped.update(range(i, self.partner[i + 1]))
            elif token.text == "reserve" and self.word(i + 1) == "(":  # what only saves time
                first = max((k for k in self.starts if k < i), default=i)
                skipped.update(range(first, self.partner[i + 1]))
            elif token.text == "static_assert" or i in self.starts and LEFT_OUT.fullmatch(token.text):
                skipped.update(range(i, self.end_of_statement(i)))
        return skipped

    def says_something(self, first, last):
        """Whether a sentence for users is among these tokens."""
        return any(token.kind == "text" and re.search(r"\s", token.text) for token in self.tokens[first:last + 1])

    def places(self):
        """For each place that can be changed: a list of changes, each (first token, last token, replacement)."""
        for i, token in enumerate(self.tokens):
            if i in self.skipped:
                continue
            changes = list(self.values_at(i, token))
            if self.in_function(i):
                changes += self.operators_at(i, token)
                if token.text in ("if", "while") and self.word(i + 1) == "(":
                    changes += self.conditions_at(i + 1)
                if i in self.starts:
                    changes += self.statements_at(i)
            if changes:
                yield changes
            if token.text == "(" and self.in_function(i):
                yield from ([change] for change in self.arguments_at(i))

    def values_at(self, i, token):
        before, after = self.word(i - 1), self.text[token.end:token.end + 1]
        outside = not self.in_function(i)
        if outside and self.opened[i] is not None and self.word(self.opened[i]) == "(":
            return  # the default of a parameter
        if self.is_cell(i):
            return
        if token.text in ("true", "false") and self.word(i - 2) not in ("noexcept", "explicit"):
            yield i, i, "false" if token.text == "true" else "true"
        found = re.fullmatch(r"(\d[\d']*)([uUlLzZ]*)", token.text)
        if not found or found[1].startswith("0") and len(found[1]) > 1 or after == ">":
            return
        if outside and before == "=" and self.word(i - 2) in (")", "const", "noexcept", "override"):
            return  # a function without a body
        yield i, i, f"{int(found[1].replace(chr(39), '')) + 1}{found[2]}"

    def is_cell(self, i):
        """Whether this is a value of a table, a list of lists."""
        row = self.opened[i]
        return row is not None and self.scope.get(row) == self.scope.get(self.opened[row]) == "values"

    def operators_at(self, i, token):
        if token.text == "!" and self.word(i - 1) != "operator":
            yield i, i, ""
        spaced = self.text[token.start - 1].isspace() and self.text[token.end].isspace()
        if not spaced or token.text not in OPERATORS or self.word(i - 1) == "operator":
            return
        if token.text in ("+", "-", "+=") and "text" in (self.tokens[i - 1].kind, self.tokens[i + 1].kind):
            return  # texts can only be joined
        for other in OPERATORS[token.text]:
            yield i, i, other

    def conditions_at(self, bracket):
        first, last = bracket + 1, self.partner[bracket] - 1
        inside = [k for k in range(first, last + 1) if self.opened[k] == bracket]
        words = {self.word(k) for k in inside}
        if ";" in words:
            first = max(k for k in inside if self.word(k) == ";") + 1
            words = {self.word(k) for k in inside if k >= first}
        # A declaration has no negation, and a single comparison or negation is changed by itself.
        joined = words & {"&&", "||", "?"}
        if "=" not in words and (joined or not words & COMPARISONS and self.word(first) != "!"):
            yield first, last, f"!({self.between(first, last)})"

    def statements_at(self, i):
        end = self.end_of_statement(i)
        if self.word(i) in ("break", "continue"):
            yield i, end, ";"
        elif self.word(i) == "return" and end == i + 1:
            yield i, end, ";"
        elif self.word(i) == "return":
            value = self.between(i + 1, end - 1)
            if not self.says_something(i, end) and not EMPTY.fullmatch(value):
                yield i, end, "return {};"
        elif self.is_call_or_assignment(i):
            yield i, end, ";"

    def is_call_or_assignment(self, i):
        if self.word(i) in ("++", "--"):
            return True
        if self.word(i) == "*":
            i += 1
        if self.word(i) in KEYWORDS or self.tokens[i].kind != "word":
            return False
        while i < self.last:
            i += 1
            while self.word(i) in ("(", "["):
                i = self.partner[i] + 1
            if self.word(i) not in ("::", ".", "->"):
                break
            i += 1
        return self.word(i) in ASSIGNMENTS or self.word(i) in ("++", "--") or \
            self.word(i) == ";" and self.word(i - 1) in (")", "++", "--")

    def arguments_at(self, bracket):
        name, before = self.tokens[bracket - 1], self.tokens[bracket - 2]
        if name.kind != "word" or name.text in KEYWORDS or LEFT_OUT.fullmatch(name.text) or \
                before.kind == "word" and before.text not in ("return", "else", "new"):
            return
        if before.text in (">", "&", "*"):  # of a type: this is a declaration
            return
        end = self.partner[bracket]
        commas = [k for k in range(bracket + 1, end) if self.word(k) == "," and self.opened[k] == bracket]
        for comma, following in itertools.pairwise([bracket, *commas, end]):
            first, last = comma + 1, following - 1
            words = [self.word(k) for k in range(first, last + 1)]
            is_literal = len(words) == 1 and self.tokens[first].kind != "word"
            if not words or is_literal or words[0] in ("[", "{", "this") or "const" in words:
                continue
            if not self.says_something(first, last) and not EMPTY.fullmatch(self.between(first, last)):
                yield first, last, "{}"

    def between(self, first, last):
        return self.text[self.tokens[first].start:self.tokens[last].end]

    def mutants(self, file):
        """Lists of mutants, one list for each place."""
        for changes in self.places():
            yield [self.mutant(file, *change) for change in changes]

    def mutant(self, file, first, last, replacement):
        start, end = self.tokens[first].start, self.tokens[last].end
        begin, finish = self.text.rfind("\n", 0, start) + 1, self.text.find("\n", end)
        finish = len(self.text) if finish < 0 else finish
        before = self.text[begin:finish]
        after = self.text[begin:start] + replacement + self.text[end:finish]
        return Mutant(file, self.text.count("\n", 0, start) + 1, " ".join(before.split()), " ".join(after.split()),
                      start, end, replacement)


def all_mutants(root, paths, seed):
    """The mutants of these paths in the order of the seed: one of each place, then the others."""
    places = []
    for name in paths:
        path, _, line = name.partition(":")
        found = (root / path).resolve()
        if not found.is_relative_to(root) or not found.exists():
            sys.exit(f"mutate: there is no {name} in {root}")
        for source in [found] if found.is_file() else sorted(found.rglob("*.cpp")):
            text = source.read_text(encoding="utf-8")
            places += [place for place in Source(text).mutants(source.relative_to(root).as_posix())
                       if not line or place[0].line == int(line)]
    places = list({place[0].file + str(place[0][4:6]): place for place in places}.values())
    chance = random.Random(seed)
    chance.shuffle(places)
    for place in places:
        chance.shuffle(place)
    return [mutant for round in itertools.zip_longest(*places) for mutant in round if mutant]
