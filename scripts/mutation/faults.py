"""The small faults that scripts/mutate puts into a source file: regular expressions on the text without its comments,
strings, preprocessor lines and log statements. What makes no sense is left for the compiler to refuse."""
import bisect
import collections
import re

HIDDEN = re.compile(r"""
    (?P<text>R"(?P<end>[^(\s]*)\(.*?\)(?P=end)" | "(?:\\.|[^"\\\n])*") | (?P<number>\b\d[\w.']*)
  | (?P<blank>'(?:\\.|[^'\\\n])+' | //[^\n]* | /\*.*?\*/ | ^[ \t]*\#(?:\\\n|[^\n])*)""", re.S | re.M | re.X)
SPARED = re.compile(r"\b(?:LOGBASE|slogf|vslogf|static_assert|__attribute__|template\s*(?=<))")
OPERATORS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&", "+": "-",
             "-": "+", "*": "/", "/": "*", "%": "*", "&": "|", "|": "&", "^": "|", "<<": ">>", ">>": "<<",
             "+=": "-=", "-=": "+=", "|=": "&=", "&=": "|=", "<<=": ">>=", ">>=": "<<="}
OPERATOR = re.compile(r'(?<=[\w)\]}"] )(%s)(?=\s)' % "|".join(sorted(map(re.escape, OPERATORS), key=len)[::-1]))
NUMBER = re.compile(r"(?<![\w.'])(0x[\da-fA-F]+|\d+)(?=[uUlL]*(?![\w.']))")
PURE = re.compile(r"(?:\)|const|noexcept|override) = $")
CALL = re.compile(r"(?:::)?[\w:]+(?:<[\w:*& ]+>)?(?:\.\w+|->\w+|\[[^\]]*\])*\(")
ASSIGNMENT = re.compile(r"\*?[\w:]+(?:\.\w+|->\w+|\[[^\]]*\])* (?:[-+|&*/%^]|<<|>>)?= |(?:\+\+|--)\w|\w+(?:\+\+|--);")
LEAVING = re.compile(r"(?:break|continue|return);")
KEYWORD = re.compile(r"(?:if|for|while|switch|return|throw|delete|using|sizeof|static_cast)\b")
DECLARATIVE = re.compile(r"\b(?:class|struct|union|enum|namespace|extern)\b[^;{}()=]*$")

Fault = collections.namedtuple("Fault", "file line begin end new before after")


def closing(text, begin):
    """The position after the bracket that closes the one at begin."""
    pairs = {"(": ")", "<": ">", "{": "}"}
    depth = 0
    for at in range(begin, len(text)):
        if text[at] == text[begin]:
            depth += 1
        elif text[at] == pairs[text[begin]]:
            depth -= 1
            if depth == 0:
                return at + 1
    return len(text)


def masked(text):
    """The text with blanks in place of what is not to be changed; all other characters stay where they were."""
    def hide(found):
        if found["number"]:
            return found[0]
        return re.sub(r"[^\n]", '"' if found["text"] else " ", found[0])
    text = HIDDEN.sub(hide, text)
    for found in list(SPARED.finditer(text)):
        begin = re.compile(r"[(<]").search(text, found.end() - 1)
        end = closing(text, begin.start()) if begin else found.end()
        text = text[:found.start()] + re.sub(r"[^\n]", " ", text[found.start():end]) + text[end:]
    return text


def token_faults(code):
    for found in OPERATOR.finditer(code):
        line = code[code.rfind("\n", 0, found.start()):code.find("\n", found.end())]
        if found[0] != "+" or '"' not in line:  # texts are joined
            yield found.start(), found.end(), OPERATORS[found[0]]
    for found in re.finditer(r"\+\+|--", code):
        yield found.start(), found.end(), "--" if found[0] == "++" else "++"
    for found in re.finditer(r"\b(true|false)\b", code):
        yield found.start(), found.end(), "false" if found[0] == "true" else "true"
    for found in NUMBER.finditer(code):
        if not PURE.search(code, 0, found.start()):
            digits = found[0]
            octal = len(digits) > 1 and digits.isdigit() and digits[0] == "0"
            value = int(digits, 8 if octal else 0) + 1
            form = "0x%X" if "x" in digits else "0%o" if octal else "%d"
            yield found.start(), found.end(), form % value


def condition_faults(code):
    for found in re.finditer(r"\b(if|while) \(", code):
        begin, end = found.end(), closing(code, found.end() - 1) - 1
        begin = max(begin, code.rfind(";", begin, end) + 1)
        condition = code[begin:end]
        if " = " in condition or "{" in condition:
            continue  # a declaration, or a lambda
        if not re.fullmatch(r"[^&|]* [!=]= [^&|]*", condition):
            yield begin, end, None
        for value in ("true", "false"):
            if condition.strip() != value:
                yield begin, end, " " * (len(condition) - len(condition.lstrip())) + value


def statement_faults(code):
    kinds = []  # of the open brackets: true for a block of statements
    for found in re.finditer(r"[;{}()]", code):
        if found[0] in "({":
            before = code[max(0, found.start() - 200):found.start()]
            kinds.append(found[0] == "{" and not DECLARATIVE.search(before))
        elif found[0] in ")}" and kinds:
            kinds.pop()
        if found[0] in "()" or not kinds or not kinds[-1]:
            continue
        start = re.compile(r"\s*(?:(?:case [\w:]+|default):\s+)?").match(code, found.end()).end()
        if KEYWORD.match(code, start):
            continue
        if LEAVING.match(code, start) or CALL.match(code, start) or ASSIGNMENT.match(code, start):
            end = start
            while code[end] not in ";{}":
                end = closing(code, end) if code[end] == "(" else end + 1
            if code[end] == ";" and "{" not in code[start:end]:
                yield start, end, ""


def faults_of(file, text):
    """All faults of a file that has this text."""
    code = masked(text)
    starts = [0] + [found.end() for found in re.finditer("\n", text)]
    faults = {}
    for begin, end, new in sorted([*token_faults(code), *condition_faults(code), *statement_faults(code)],
                                  key=lambda fault: fault[:2]):
        old = text[begin:end]
        new = f"!({old})" if new is None else new + "\n" * (old.count("\n") - new.count("\n"))
        first = bisect.bisect(starts, begin) - 1
        last = text.find("\n", end)
        line = " ".join(text[starts[first]:last].split())
        after = " ".join((text[starts[first]:begin] + new + text[end:last]).split())
        if line != after:
            faults[first, after] = Fault(file, first + 1, begin, end, new, line, after)
    return list(faults.values())
