"""Where a C++ file can be changed, and how: the mutants of a file, from clang's syntax tree.

A mutant is one small change of one place. Its kinds:

    taken out    a statement, or a break, continue or return, is not done
    never        a condition, or a value that is true or false, is always false
    always       ... or always true
    dropped      one operand of && or || counts for nothing
    boundary     < becomes <=, > becomes >=, and the other way round
    sign         + becomes -, and the other way round
    nothing      a value that is returned or kept is an empty one
    not called   a call becomes one of its arguments, which has the same type
    other field  a field of the same type of the same structure is read
    row          a row of a table is gone: its neighbour stands there twice
    no lock      nothing is locked

Left out: declarations without "=", what must be known to the compiler (constants, labels, static
assertions), members' starting values, and whatever a macro makes.
"""
import concurrent.futures
import dataclasses
import functools
import hashlib
import json
import pathlib
import pickle
import re
import subprocess

KINDS = ["taken out", "never", "always", "dropped", "boundary", "sign", "nothing", "not called",
         "other field", "row", "no lock"]
TURNED = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "+": "-", "-": "+"}
WRITES = {"=", "+=", "-=", "*=", "/=", "%=", "|=", "&=", "^=", "<<=", ">>=", "++", "--"}
TRANSPARENT = {"ImplicitCastExpr", "ExprWithCleanups", "MaterializeTemporaryExpr",
               "CXXBindTemporaryExpr", "ConstantExpr", "ParenExpr"}
LITERALS = {"IntegerLiteral", "StringLiteral", "CharacterLiteral", "FloatingLiteral",
            "CXXNullPtrLiteralExpr", "InitListExpr", "CXXBoolLiteralExpr"}
NUMBER = re.compile(r"(unsigned |signed )?(char|short|int|long|long long|wchar_t|float|double)"
                    r"( unsigned| int)*|unsigned|bool")
LITERAL_OR_GAP = re.compile(
    r'("(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\')|(?:\s|//[^\n]*|/\*.*?\*/)+', re.DOTALL)


@dataclasses.dataclass(frozen=True)
class Mutant:
    """One change. The text from begin to end (offsets in bytes) is put between before and after."""
    file: str
    kind: str
    begin: int
    end: int
    before: str  # "\0" stands for the mutant's number
    after: str
    shown: str  # the text that is changed
    # For a row: the offset behind its whole table, and which of its rows it is.
    table: tuple = ()


def one_line(text):
    """Without comments and line breaks, so that it can be repeated anywhere."""
    return LITERAL_OR_GAP.sub(lambda found: found.group(1) or " ", text).strip()


class Tree:
    """The syntax tree of one file and the headers of ours that it includes."""

    def __init__(self, root, source, flags):
        command = ["clang++", *flags, "-fsyntax-only", "-Xclang", "-ast-dump=json",
                   "-Xclang", "-ast-dump-filter=vorda", source]
        done = subprocess.run(command, cwd=root, capture_output=True, text=True)
        if done.returncode != 0:
            raise RuntimeError(done.stderr)
        self.roots = []
        decoder, at, text = json.JSONDecoder(), 0, done.stdout
        while at < len(text):
            found, at = decoder.raw_decode(text, at)
            self.file = ""
            self._locate(found)
            self.roots.append(found)
            while at < len(text) and text[at].isspace():
                at += 1
        self.fields = {}
        for found in self.roots:
            self._collect_fields(found)

    def _place(self, location):
        """A place as (file, begin, end), or None when a macro made it. The tree names a file only
        where it differs from that of the place before."""
        if not location:
            return None
        inner = [location[key] for key in ("spellingLoc", "expansionLoc") if key in location]
        if inner:
            for one in inner:
                self._place(one)
            return None
        self.file = location.get("file", self.file)
        if "offset" not in location:
            return None
        return self.file, location["offset"], location["offset"] + location["tokLen"]

    def _locate(self, node):
        self._place(node.get("loc"))
        begin = self._place(node.get("range", {}).get("begin"))
        end = self._place(node.get("range", {}).get("end"))
        node["at"] = None
        if begin and end and begin[0] == end[0]:
            node["at"] = begin[0], begin[1], end[2]
        for child in node.get("inner", []):
            self._locate(child)

    def _collect_fields(self, node):
        fields = [one for one in node.get("inner", []) if one.get("kind") == "FieldDecl" and "name" in one]
        # All fields of a union are the same memory.
        if node.get("kind") == "CXXRecordDecl" and node.get("tagUsed") != "union":
            for index, one in enumerate(fields):
                later = fields[index + 1:] + fields[:index]
                alike = [other["name"] for other in later if type_of(other) == type_of(one)]
                self.fields[one["id"]] = alike[0] if alike else None
        for child in node.get("inner", []):
            self._collect_fields(child)


def type_of(node):
    kind = node.get("type", {})
    name = kind.get("desugaredQualType", kind.get("qualType", ""))
    return re.sub(r"^const ", "", name).removesuffix(" &").removesuffix("&")


def bare(node):
    """The expression beneath conversions and parentheses."""
    while node.get("kind") in TRANSPARENT and node.get("inner"):
        node = node["inner"][0]
    return node


def named(node):
    """The expression somebody wrote, beneath conversions to another class, too."""
    while True:
        node = bare(node)
        inner = node.get("inner", [])
        if node.get("kind") == "CXXConstructExpr" and len(inner) == 1:
            node = inner[0]
        elif (node.get("kind") == "CXXMemberCallExpr" and inner and
              inner[0].get("name", "").startswith("operator ")):
            node = inner[0]["inner"][0]
        else:
            return node


class Finder:
    """Walks a tree and collects the mutants of the wanted files."""

    def __init__(self, root, tree, wanted):
        self.tree = tree
        self.texts = {name: (root / name).read_bytes() for name in wanted}
        self.found = []
        for node in tree.roots:
            self.declaration(node)

    # ---- helpers -------------------------------------------------------------------------------

    def here(self, node):
        return bool(node.get("at")) and node["at"][0] in self.texts

    def text(self, node):
        file, begin, end = node["at"]
        return one_line(self.texts[file][begin:end].decode())

    def add(self, kind, node, before, after, until=None, shown=None, begin=None, table=()):
        file, start, end = node["at"]
        self.found.append(Mutant(
            file, kind, start if begin is None else begin, end if until is None else until,
            before, after, shown or self.text(node), table))

    def instead(self, kind, node, other):
        """`other` takes the place of an expression."""
        if self.here(node):
            self.add(kind, node, f"(vordaMutant(\0) ? ({other}) : (", "))")

    def behind_semicolon(self, node):
        """The offset behind the semicolon that ends a statement, or None."""
        file, _, end = node["at"]
        found = re.compile(rb"\s*;").match(self.texts[file], end)
        return found.end() if found else None

    # ---- declarations --------------------------------------------------------------------------

    def declaration(self, node):
        kind, inner = node.get("kind", ""), node.get("inner", [])
        if node.get("isImplicit"):
            return
        if kind in ("NamespaceDecl", "LinkageSpecDecl", "CXXRecordDecl"):
            for child in inner:
                self.declaration(child)
        elif kind in ("FunctionTemplateDecl", "ClassTemplateDecl"):
            # The first is what is written; what follows was made from it.
            for child in [one for one in inner if one.get("kind", "").endswith(
                    ("FunctionDecl", "MethodDecl", "RecordDecl", "ConstructorDecl"))][:1]:
                self.declaration(child)
        elif kind in ("FunctionDecl", "CXXMethodDecl", "CXXConstructorDecl", "CXXDestructorDecl",
                      "CXXConversionDecl"):
            for child in inner:
                if child.get("kind") in ("CompoundStmt", "CXXTryStmt"):
                    self.statement(child, node)
        elif kind == "VarDecl":
            self.variable(node, None)

    def variable(self, node, function):
        if not self.here(node) or not node.get("inner"):
            return
        value = node["inner"][-1]
        if self.is_lock(node):
            self.lock(node, value)
            return
        self.table(node, value)
        if node.get("init") != "c" or node.get("constexpr"):
            if not node.get("constexpr"):
                self.expression(value)
            return
        if function is not None:
            if type_of(node) == "bool":
                self.truth(value)
            elif bare(value).get("kind") not in LITERALS | {"LambdaExpr", "DeclRefExpr"}:
                self.empty(value)
        self.expression(value)

    def empty(self, node):
        if self.here(node) and self.text(node) not in ("{}", "nullptr", "std::nullopt"):
            self.instead("nothing", node, f"vordaNothing<decltype(({self.text(node)}))>()")

    @staticmethod
    def is_lock(node):
        return re.search(r"\b(lock_guard|unique_lock|scoped_lock|shared_lock)\b",
                         node.get("type", {}).get("qualType", "")) is not None

    def lock(self, node, value):
        arguments = [one for one in bare(value).get("inner", []) if one.get("at")]
        if len(arguments) == 1 and self.here(arguments[0]):
            raw = self.text(arguments[0])
            self.instead("no lock", arguments[0], f"vordaOtherLock({raw})")

    def table(self, node, value):
        """Rows of an array written down: at least two, all in braces or all literals."""
        rows = bare(value)
        if "static" != node.get("storageClass") and not node.get("constexpr"):
            return
        if rows.get("kind") == "CXXConstructExpr" or rows.get("kind") != "InitListExpr":
            return
        while len(rows.get("inner", [])) == 1 and rows["inner"][0].get("kind") == "InitListExpr":
            rows = rows["inner"][0]
        rows = [one for one in rows.get("inner", []) if self.here(one)]
        if "[" not in node["type"]["qualType"] and "array<" not in node["type"]["qualType"]:
            return
        end = self.behind_semicolon(node)
        if len(rows) < 2 or end is None:
            return
        name = node["name"]
        for index, row in enumerate(rows):
            self.add("row", row, "", f" [[maybe_unused]] const bool vordaRow\0 = "
                     f"vordaDropRow(\0, {index}, {name});", table=(node["at"][1], end),
                     begin=row["at"][1], until=row["at"][2])

    # ---- statements ----------------------------------------------------------------------------

    def statement(self, node, function):
        kind, inner = node.get("kind"), node.get("inner", [])
        if not kind:
            return
        handler = getattr(self, "on_" + kind, None)
        if handler:
            handler(node, inner, function)
        elif kind.endswith("Stmt"):
            for child in inner:
                self.statement(child, function)
        else:
            self.take_out(node)
            self.expression(node)

    def take_out(self, node):
        if not self.here(node):
            return
        end = self.behind_semicolon(node)
        if end is not None:
            self.add("taken out", node, "{ if (!vordaMutant(\0)) {", "} }", until=end)

    def on_IfStmt(self, node, inner, function):
        parts = list(inner)
        if node.get("hasInit"):
            self.statement(parts.pop(0), function)
        if node.get("hasVar"):
            self.statement(parts.pop(0), function)
            parts.pop(0)
        else:
            condition = parts.pop(0)
            if not node.get("isConstexpr"):
                self.truth(condition)
                self.expression(condition)
        for part in parts:
            self.statement(part, function)

    def on_WhileStmt(self, node, inner, function):
        if node.get("hasVar"):
            self.statement(inner[0], function)
        else:
            self.truth(inner[0], always=False)
            self.expression(inner[0])
        self.statement(inner[-1], function)

    def on_DoStmt(self, node, inner, function):
        self.statement(inner[0], function)
        self.truth(inner[1], always=False)
        self.expression(inner[1])

    def on_ForStmt(self, node, inner, function):
        condition = inner[2]
        if condition.get("kind"):
            self.truth(condition, always=False)
            self.expression(condition)
        self.statement(inner[4], function)

    def on_CXXForRangeStmt(self, node, inner, function):
        if self.here(node):
            shown = self.text(node).split("{")[0].strip()
            if inner[-1].get("kind") == "CompoundStmt":
                self.add("taken out", node, "{ if (!vordaMutant(\0)) {", "} }", shown=shown)
        for part in inner[1].get("inner", []):
            for value in part.get("inner", []):
                self.expression(value)
        self.statement(inner[-1], function)

    def on_SwitchStmt(self, node, inner, function):
        self.expression(inner[0])
        self.statement(inner[-1], function)

    def on_CaseStmt(self, node, inner, function):
        self.statement(inner[-1], function)

    def on_DefaultStmt(self, node, inner, function):
        self.statement(inner[-1], function)

    def on_BreakStmt(self, node, inner, function):
        self.take_out(node)

    on_ContinueStmt = on_BreakStmt

    def on_ReturnStmt(self, node, inner, function):
        if not inner:
            self.take_out(node)
            return
        value = inner[0]
        returned = function.get("type", {}).get("qualType", "")
        if type_of(value) == "bool":
            self.truth(value)
        elif self.here(node) and not returned.split(" (")[0].endswith(("&", "*")):
            end = self.behind_semicolon(node)
            trivial = ("{}", "nullptr", "std::nullopt", '""', "0")
            same = self.text(value) in trivial or self.text(value).endswith("::none")
            if self.here(value) and end is not None and not same:
                self.add("nothing", node, "{ if (vordaMutant(\0)) return {}; ", " }", until=end)
        self.expression(value)

    def on_DeclStmt(self, node, inner, function):
        for child in inner:
            if child.get("kind") == "VarDecl":
                self.variable(child, function)
            else:
                self.declaration(child)

    def on_CXXCatchStmt(self, node, inner, function):
        self.statement(inner[-1], function)

    # ---- expressions ---------------------------------------------------------------------------

    def truth(self, node, never=True, always=True):
        """A value that is true or false. Of a && b, "always" is told by an operand less."""
        inner = bare(node)
        if not self.here(node):
            return
        opcode = inner.get("opcode")
        literal = inner.get("value") if inner.get("kind") == "CXXBoolLiteralExpr" else None
        if always and opcode != "&&" and literal is not True:
            self.add("always", node, "(vordaMutant(\0) || (", "))")
        if never and opcode != "||" and literal is not False:
            self.add("never", node, "(!vordaMutant(\0) && (", "))")

    def expression(self, node):
        kind, inner = node.get("kind"), node.get("inner", [])
        if kind == "LambdaExpr":
            self.lambda_expression(inner)
            return
        if kind in ("CXXDefaultArgExpr", "CXXDefaultInitExpr", "CXXRecordDecl", "ConstantExpr"):
            return
        if kind == "BinaryOperator":
            self.binary(node, inner)
        elif kind == "ConditionalOperator":
            self.truth(inner[0])
        elif kind in ("CallExpr", "CXXMemberCallExpr"):
            self.call(node, inner)
        elif kind == "MemberExpr":
            self.member(node)
        # What is written to stays what it is.
        if node.get("opcode", "") in WRITES and inner and inner[0].get("kind") == "MemberExpr":
            inner = inner[0].get("inner", []) + inner[1:]
        for child in inner:
            self.expression(child)

    def lambda_expression(self, inner):
        method = {}
        for record in inner:
            if record.get("kind") == "CXXRecordDecl":
                methods = [one for one in record.get("inner", []) if one.get("name") == "operator()"]
                method = methods[0] if methods else {}
        returned = method.get("type", {}).get("qualType", "")
        if " -> " in returned:
            method = {"type": {"qualType": returned.rsplit(" -> ")[-1] + " ()"}}
        body = [one for one in inner if one.get("kind") == "CompoundStmt"]
        if body:
            self.statement(body[-1], method)

    def binary(self, node, inner):
        opcode = node.get("opcode")
        if opcode in ("&&", "||"):
            for operand in inner:
                if bare(operand).get("opcode") == opcode or not self.here(operand):
                    continue
                before = "(vordaMutant(\0) || (" if opcode == "&&" else "(!vordaMutant(\0) && ("
                self.add("dropped", operand, before, "))")
        elif opcode in TURNED and all(self.here(one) for one in (node, *inner)):
            if not all(NUMBER.fullmatch(type_of(one)) for one in inner):
                return
            left, right = (self.text(one) for one in inner)
            kind = "boundary" if opcode[0] in "<>" else "sign"
            self.instead(kind, node, f"{left} {TURNED[opcode]} {right}")

    def call(self, node, inner):
        callee = bare(inner[0])
        name = callee.get("referencedDecl", {}).get("name", callee.get("name", ""))
        if name in ("move", "forward", "ref", "cref", "get") or name.startswith("operator"):
            return
        arguments = list(inner[1:])
        if callee.get("kind") == "MemberExpr" and callee.get("inner"):
            arguments.append(callee["inner"][0])
        for argument in arguments:
            argument = named(argument)
            # What stays in its place for others to change must not become a copy.
            category = node.get("valueCategory")
            if (self.here(argument) and type_of(argument) == type_of(node) and
                    category in ("prvalue", argument.get("valueCategory")) and
                    argument.get("kind") not in LITERALS | {"LambdaExpr"} and type_of(node) != "bool"):
                self.instead("not called", node, self.text(argument))

    def member(self, node):
        other = self.tree.fields.get(node.get("referencedMemberDecl"))
        if other and self.here(node) and self.text(node).endswith(node["name"]):
            self.instead("other field", node, self.text(node).removesuffix(node["name"]) + other)


def mutants_in(root, source, wanted, flags):
    return Finder(root, Tree(root, source, flags), wanted).found


def mutants_of(root, sources, wanted, flags, memory):
    """All mutants in the wanted files, as the given sources show them, in order of place. Unchanged
    sources are remembered in a folder."""
    state = hashlib.sha256(repr((sources, wanted, flags)).encode())
    for path in [pathlib.Path(__file__), *sorted((root / "src").rglob("*"))]:
        if path.suffix in (".py", ".cpp", ".h"):
            state.update(str(path).encode() + b"\0" + path.read_bytes() + b"\0")
    kept = memory / (state.hexdigest() + ".places")
    if kept.is_file():
        return pickle.loads(kept.read_bytes())
    found = {}
    with concurrent.futures.ProcessPoolExecutor(2) as pool:
        for some in pool.map(functools.partial(mutants_in, root, wanted=wanted, flags=flags), sources):
            for one in some:
                # A header is seen once by each file that includes it.
                found.setdefault((one.file, one.kind, one.begin, one.end, one.before, one.after), one)
    # The same place changed from outside inwards.
    order = sorted(found.values(), key=lambda one: (one.file, one.begin, -one.end, KINDS.index(one.kind)))
    memory.mkdir(parents=True, exist_ok=True)
    kept.write_bytes(pickle.dumps(order))
    return order
