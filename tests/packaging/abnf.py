"""The rules that a manual page shows: ABNF (RFC 5234), and the regular expressions of a rule's lines."""

import re
import subprocess

CORE_RULES = {"DIGIT": rb"[0-9]", "SP": b" "}
# A path is any bytes. The tests' own paths have no line feed, and without one the matching stays quick.
PATH = rb"[^\n]*"

TOKEN = re.compile(r'\s*(?:%s)?(?:"(?P<text>[^"]*)"|%x(?P<first>[0-9A-F]{2})(?:-(?P<last>[0-9A-F]{2}))?'
                   r"|(?P<least>\d*)\*(?P<most>\d*)|(?P<times>\d+)|(?P<rule>[A-Za-z][A-Za-z0-9-]*)"
                   r"|(?P<mark>[()\[\]/]))")


def rendered(page):
    """The page as text, one display line a line and without its left margin."""
    text = subprocess.run(["mandoc", "-T", "ascii", page], stdout=subprocess.PIPE, check=True).stdout.decode()
    return [re.sub("^ {5}", "", line) for line in re.sub(".\b", "", text).split("\n")]


class Grammar:
    def __init__(self, page):
        self.rules = {}  # name -> its definition
        self.expressions = []  # (rule, regular expression) in the page's order
        self.compiled = {}
        block = rule = None
        for line in rendered(page):
            definition = re.match(r"([A-Za-z][A-Za-z0-9-]*) =(/?) (.*)", line)
            expression = re.fullmatch(r"/(.+)/", line)
            text = re.sub(r'^((?:[^";]|"[^"]*")*);.*', r"\1", definition[3] if definition else line)
            if definition:
                rule = definition[1]
                block = block or rule
                self.rules[rule] = self.rules[rule] + " / " + text if definition[2] else text
            elif expression:
                self.expressions.append((block, re.compile(expression[1].encode(), re.DOTALL)))
            elif rule and line.startswith("  "):
                self.rules[rule] += " " + text
            else:
                rule = None
            if not line:
                block = None

    def rules_of(self, line):
        """The rules that a line may belong to: of those with an expression that fits it, the first."""
        fitting = [rule for rule, expression in self.expressions if expression.search(line)]
        return set(fitting) if line == b"" else set(fitting[:1])

    def pattern(self, rule):
        """The rule as a regular expression."""
        if rule in CORE_RULES:
            return CORE_RULES[rule]
        if rule == "path":
            return PATH
        if rule not in self.compiled:
            text = self.rules[rule]
            tokens = list(TOKEN.finditer(text))
            assert "".join(token[0] for token in tokens) == text.rstrip(), "unknown ABNF: " + text
            tokens.append(None)
            self.compiled[rule] = self._alternation(tokens)
            assert tokens == [None], "unfinished ABNF: " + text
        return self.compiled[rule]

    def _alternation(self, tokens):
        alternatives = [self._concatenation(tokens)]
        while tokens[0] and tokens[0]["mark"] == "/":
            tokens.pop(0)
            alternatives.append(self._concatenation(tokens))
        return b"(?:" + b"|".join(alternatives) + b")"

    def _concatenation(self, tokens):
        pattern = b""
        while tokens[0] and tokens[0]["mark"] not in ("/", ")", "]"):
            pattern += self._repetition(tokens)
        return pattern

    def _repetition(self, tokens):
        token = tokens[0]
        times = b""
        if token["times"] is not None:
            times = b"{%s}" % token["times"].encode()
        elif token["least"] is not None:
            times = b"{%s,%s}" % (token["least"].encode() or b"0", token["most"].encode())
        if times:
            tokens.pop(0)
        return b"(?:" + self._element(tokens) + b")" + times

    def _element(self, tokens):
        token = tokens.pop(0)
        if token["text"] is not None:
            return re.escape(token["text"].encode())
        if token["first"]:
            return b"[\\x%s-\\x%s]" % (token["first"].encode(), (token["last"] or token["first"]).encode())
        if token["rule"]:
            return self.pattern(token["rule"])
        inner = self._alternation(tokens)
        tokens.pop(0)
        return inner if token["mark"] == "(" else inner + b"?"
