# SPDX-License-Identifier: Apache-2.0
"""The changes that scripts/mutate makes: all single changes of a C++ source file, by kind.

Works on tokens, not on a syntax tree: comments, preprocessor lines and static assertions are never
changed, and a change that gives an invalid program is found by the compiler. Relies on the format
of .clang-format: a binary "<" or "&&" has blanks on both sides, that of a type has not.
"""
import dataclasses
import re

# In the order in which they are tried at one position.
TOKEN = re.compile(
    r"""(?P<comment>//[^\n]*|/\*.*?\*/)
      | (?P<directive>^[ \t]*\#(?:\\\n|[^\n])*)
      | (?P<string>(?:u8|[uUL])?R"(?P<delimiter>[^(\s]*)\(.*?\)(?P=delimiter)"
                  |(?:u8|[uUL])?"(?:\\.|[^"\\\n])*")
      | (?P<char>(?:u8|[uUL])?'(?:\\.|[^'\\\n])+')
      | (?P<number>\.?[0-9](?:'?[0-9A-Za-z_.]|(?<=[eEpP])[+-])*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<sign>->\*|<=>|<<=|>>=|\.\.\.|::|->|\+\+|--|<<|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|[^\s\w])
    """,
    re.VERBOSE | re.DOTALL | re.MULTILINE,
)
OPENING = {"(": ")", "[": "]", "{": "}"}
COMPARISONS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
# Words that begin a declaration; other declarations are recognised by "type name".
DECLARING = {
    "alignas", "auto", "bool", "char", "class", "const", "constexpr", "double", "enum", "extern",
    "float", "friend", "int", "long", "short", "signed", "static", "static_assert", "struct",
    "template", "thread_local", "typedef", "typename", "union", "unsigned", "using", "void",
}
SCOPES = {"namespace", "class", "struct", "union", "enum", "extern"}
FIXED = {"static_assert", "CAPABILITY", "REQUIRES", "ACQUIRE", "RELEASE"}
IN_CALLS = {"(", "[", "{", "::", ".", "->", "<", ">"}
LOCK = re.compile(r"(Lock|Unlock|lock_guard|scoped_lock|shared_lock|unique_lock)$")


@dataclasses.dataclass(frozen=True)
class Mutation:
    """Replaces the text between two offsets. `removed` and `added` are the changed lines before and
    after, with single blanks: with the function they identify the change if lines move."""

    path: str
    line: int
    function: str
    kind: str
    begin: int
    end: int
    text: str
    removed: str
    added: str

    def apply(self, source):
        return source[: self.begin] + self.text + source[self.end :]

    def key(self):
        return (self.path, self.function, self.removed, self.added)


@dataclasses.dataclass(frozen=True)
class Token:
    kind: str
    text: str
    begin: int
    end: int


def tokenize(source):
    """The tokens of the source without comments and preprocessor lines."""
    tokens = []
    for match in TOKEN.finditer(source):
        kind = next(k for k in ("comment", "directive", "string", "char", "number", "word", "sign")
                    if match.group(k) is not None)
        if kind not in ("comment", "directive"):
            tokens.append(Token(kind, match.group(), match.start(), match.end()))
    return tokens


class SourceFile:
    """Finds the mutations of one file."""

    def __init__(self, path, source):
        self.path = path
        self.source = source
        self.tokens = tokenize(source)
        self.match = self._match_brackets()
        self.functions = [""] * len(self.tokens)  # the function around each token
        self.found = []
        self.blocks = self._find_blocks()
        self.fixed = self._fixed_tokens()

    def text(self, index):
        return self.tokens[index].text if 0 <= index < len(self.tokens) else ""

    def is_word(self, index):
        return 0 <= index < len(self.tokens) and self.tokens[index].kind == "word"

    # ---- Structure

    def _match_brackets(self):
        """The index of the other bracket for every bracket, by index."""
        match = {}
        stack = []
        for index, token in enumerate(self.tokens):
            if token.kind != "sign":
                continue
            if token.text in OPENING:
                stack.append(index)
            elif token.text in OPENING.values():
                if not stack or OPENING[self.text(stack[-1])] != token.text:
                    raise ValueError(f"{self.path}: brackets that do not match")
                opening = stack.pop()
                match[opening] = index
                match[index] = opening
        return match

    def _find_blocks(self):
        """The indices of the braces that begin a list of statements: bodies of functions, lambdas
        and control statements. Sets the functions of the tokens."""
        blocks = []
        inside = []  # (kind, function, closing index) of the braces around a token
        head = 0  # the first token after the last ";", "{" or "}"
        for index, token in enumerate(self.tokens):
            while inside and index > inside[-1][2]:
                inside.pop()
            function = inside[-1][1] if inside else ""
            if token.text == "{" and token.kind == "sign":
                outer = inside[-1][0] if inside else "scope"
                kind = self._kind_of_brace(index, head, outer)
                if kind == "block":
                    blocks.append(index)
                    if outer == "scope":
                        function = self._name_of_function(head, index) or function
                inside.append((kind, function, self.match[index]))
            self.functions[index] = function
            if token.kind == "sign" and token.text in ";{}":
                head = index + 1
        return blocks

    def _kind_of_brace(self, index, head, outer):
        words = {self.text(i) for i in range(head, index)}
        before = self.text(index - 1)
        if outer == "scope" and words & SCOPES and ")" not in words:
            return "scope"
        if before in (")", "else", "do", "try", "const", "noexcept", "override", "final", "mutable",
                      "]"):
            return "block"
        if outer == "block" and before in (";", "{", "}", ":"):
            return "block"
        if outer == "scope" and before == "NO_THREAD_SAFETY_ANALYSIS":
            return "block"
        # A return type after the parameters, as in "[](int i) -> std::size_t {".
        at = index - 1
        while self.is_word(at) or self.text(at) in ("::", "<", ">", "*", "&", ","):
            at -= 1
        return "block" if self.text(at) == "->" and self.text(at - 1) == ")" else "initializer"

    def _name_of_function(self, head, brace):
        """The qualified name before the first parenthesis of a function's head."""
        at = head
        while at < brace:
            if self.text(at) == "template" and self.text(at + 1) == "<":
                depth = 0
                at += 1
                while at < brace:
                    depth += {"<": 1, ">": -1}.get(self.text(at), 0)
                    at += 1
                    if depth == 0:
                        break
            elif self.text(at) == "(":
                break
            else:
                at += 1
        if at == brace:
            return ""
        first = at - 1
        if not self.is_word(first):  # an operator
            first -= 1
        while self.text(first - 1) in ("::", "~"):
            first -= 2 if self.text(first - 1) == "::" else 1
        return "".join(self.text(i) for i in range(first, at))

    def _fixed_tokens(self):
        """The tokens that stay as they are: in static assertions, linkage specifications,
        attributes and annotations."""
        fixed = set()
        for index in range(len(self.tokens)):
            text = self.text(index)
            if text in FIXED:
                if self.text(index + 1) == "(":
                    fixed.update(range(index, self.match[index + 1] + 1))
            elif text == "extern" and self.tokens[index + 1].kind == "string":
                fixed.add(index + 1)
            elif text == "[" and self.text(index + 1) == "[":
                fixed.update(range(index, self.match[index] + 1))
        return fixed

    # ---- Mutations

    def mutations(self):
        """All mutations of the file, in the order of the text."""
        for block in self.blocks:
            self._mutate_statements(block)
        for index, token in enumerate(self.tokens):
            if index not in self.fixed:
                self._mutate_token(index, token)
        self.found.sort(key=lambda m: (m.begin, m.end, m.kind, m.text))
        return self.found

    def _add(self, kind, first, last, text):
        """Replaces the tokens from `first` to `last`. Keeps the number of lines, so that a compiler
        that writes line numbers into the code gives the same code for the same meaning."""
        begin, end = self.tokens[first].begin, self.tokens[last].end
        line_begin = self.source.rfind("\n", 0, begin) + 1
        line_end = self.source.find("\n", end)
        line_end = len(self.source) if line_end < 0 else line_end
        removed = self.source[line_begin:line_end]
        added = self.source[line_begin:begin] + text + self.source[end:line_end]
        missing = self.source.count("\n", begin, end) - text.count("\n")
        self.found.append(Mutation(
            self.path, self.source.count("\n", 0, begin) + 1, self.functions[first], kind, begin,
            end, text + "\n" * missing, " ".join(removed.split()), " ".join(added.split())))

    def _mutate_statements(self, block):
        """Mutates the statements of a block, without those in blocks inside it."""
        at = block + 1
        end = self.match[block]
        controlled = False  # by the condition before it
        previous = None  # an expression statement right before
        while at < end:
            text = self.text(at)
            if text == "{":
                at, controlled, previous = self.match[at] + 1, False, None
            elif text in ("if", "while", "for", "switch", "catch"):
                opening = at + 1 if self.text(at + 1) == "(" else at + 2  # if constexpr
                if text in ("if", "while"):
                    self._negate(self._after_last_semicolon(opening), self.match[opening] - 1)
                elif text == "for":
                    self._negate_loop(opening)
                at, controlled, previous = self.match[opening] + 1, text != "catch", None
            elif text in ("else", "do", "try"):
                at, controlled, previous = at + 1, text != "try", None
            elif text in ("case", "default"):
                while self.text(at) != ":":
                    at += 1
                at, controlled, previous = at + 1, False, None
            else:
                last = at
                while self.text(last) != ";" and last < end:
                    last = self.match.get(last, last) + 1
                if last >= end:
                    return
                is_call = self._mutate_statement(at, last, controlled)
                if is_call and previous is not None:
                    self._swap(previous, (at, last))
                previous = (at, last) if is_call and not controlled else None
                at, controlled = last + 1, False

    def _mutate_statement(self, first, last, controlled):
        """Deletes one statement that ends with ";". Returns true if it is an expression with a
        call."""
        text = self.text(first)
        if first == last:
            return False
        if text in ("return", "throw"):
            # Deleting the last statement of a function would leave the result undefined.
            if controlled:
                self._add("delete a statement", first, last, ";")
            return False
        if text in ("break", "continue"):
            self._add("delete a statement", first, last, ";")
            return False
        kind = self._declared_type(first, last)
        if kind is None:
            self._add("delete a statement", first, last, ";")
            return self._is_call(first, last)
        if LOCK.search(kind):
            self._add("drop a lock", first, last, ";")
        return False

    def _is_call(self, first, last):
        """Returns true for an expression that is a call and nothing else."""
        at = first
        while at < last - 1:
            if self.tokens[at].kind == "sign" and self.text(at) not in IN_CALLS:
                return False
            at = self.match.get(at, at) + 1
        return self.text(last - 1) == ")"

    def _declared_type(self, first, last):
        """The name of the type if the statement is a declaration ("type name"), otherwise None."""
        at = first
        while self.text(at) in ("const", "static", "constexpr"):
            at += 1
        name = self.text(at)
        if name in DECLARING:
            return name
        if not self.is_word(at):
            return None
        at += 1
        while at < last:
            if self.text(at) == "::":
                name = self.text(at + 1)
                at += 2
            elif self.text(at) == "<" and self.tokens[at].begin == self.tokens[at - 1].end:
                depth = 0
                while at < last:
                    depth += {"<": 1, ">": -1}.get(self.text(at), 0)
                    at += 1
                    if depth == 0:
                        break
            else:
                break
        while self.text(at) in ("*", "&", "&&", "const"):
            at += 1
        return name if self.is_word(at) else None

    def _after_last_semicolon(self, opening):
        """The first token of the condition in a parenthesis that may begin with a declaration."""
        first = at = opening + 1
        while at < self.match[opening]:
            if self.text(at) == ";":
                first = at + 1
            at = self.match.get(at, at) + 1
        return first

    def _negate_loop(self, opening):
        """The condition of a `for` with three parts."""
        semicolons = []
        at = opening + 1
        while at < self.match[opening]:
            if self.text(at) == ";":
                semicolons.append(at)
            at = self.match.get(at, at) + 1
        if len(semicolons) == 2 and semicolons[1] > semicolons[0] + 1:
            self._negate(semicolons[0] + 1, semicolons[1] - 1)

    def _negate(self, first, last):
        if first > last or self._declared_type(first, last) is not None:
            return
        if last == first + 2 and self.text(first + 1) in ("==", "!="):
            return  # weakening it is the same
        begin, end = self.tokens[first].begin, self.tokens[last].end
        self._add("negate a condition", first, last, f"!({self.source[begin:end]})")

    def _swap(self, one, two):
        first = self.source[self.tokens[one[0]].begin : self.tokens[one[1]].end]
        second = self.source[self.tokens[two[0]].begin : self.tokens[two[1]].end]
        if first != second:
            self._add("swap two calls", one[0], two[1], f"{second} {first}")

    def _mutate_token(self, index, token):
        if token.kind == "number":
            for sign in "+-":
                self._add("change a constant", index, index, f"({token.text} {sign} 1)")
        elif token.kind == "char":
            if re.fullmatch(r"'[ -%(-\[\]-}]'", token.text):
                self._add("change a constant", index, index, f"'{chr(ord(token.text[1]) + 1)}'"
                          if token.text not in ("'&'", "'['") else "'x'")
        elif token.kind == "string":
            quote = token.text.index('"')
            if token.text[quote - 1 : quote] != "R":
                self._add("change a string", index, index,
                          f"{token.text[:quote + 1]}~{token.text[quote + 1:]}")
        elif token.text in ("true", "false"):
            self._add("change a constant", index, index,
                      "false" if token.text == "true" else "true")
        elif self._is_binary(index):
            if token.text in COMPARISONS:
                self._add("weaken a condition", index, index, COMPARISONS[token.text])
            elif token.text in ("&&", "||"):
                self._drop_operands(index)

    def _is_binary(self, index):
        token = self.tokens[index]
        if token.kind != "sign" or index == 0 or index == len(self.tokens) - 1:
            return False
        return (token.begin > self.tokens[index - 1].end and
                token.end < self.tokens[index + 1].begin)

    def _drop_operands(self, index):
        """Leaves one operand of "&&" or "||" out."""
        stops = {",", ";", "?", ":", "||", "return", "="} | set("([{")
        if self.text(index) == "&&":
            stops.add("&&")
        first = index
        while first > 0 and self.text(first - 1) not in stops:
            first = self.match.get(first - 1, first - 1)
        stops = (stops - set("([{")) | set(")]}")
        last = index
        while self.text(last + 1) not in stops:
            last = self.match.get(last + 1, last + 1)
        if first < index:
            rest = self.source[self.tokens[index + 1].begin : self.tokens[last].end]
            self._add("weaken a condition", first, last, rest)
            rest = self.source[self.tokens[first].begin : self.tokens[index - 1].end]
            self._add("weaken a condition", first, last, rest)


def mutations_of(path, source):
    return SourceFile(path, source).mutations()
