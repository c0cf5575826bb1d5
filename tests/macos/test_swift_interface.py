#!/usr/bin/python3
"""The Swift side of the platform's analyser offers what its C header declares: the same names, with
the same parameters. Nothing else would say so before a Mac links, or calls, it."""

import pathlib
import re
import unittest

SPEECH = pathlib.Path(__file__).resolve().parents[2] / "src/Platform/macOS/Speech"
HEADER = SPEECH / "VorlinSpeechAnalyzer.h"
SWIFT = SPEECH / "VorlinSpeechAnalyzer.swift"
# What a type of the header is called in the Swift file.
NAMES = {
    "bool": {"Bool"}, "double": {"Double"}, "uint32_t": {"UInt32"}, "void": {""},
    "const char*": {"Text", "Text?"}, "void*": {"Context", "Handle", "Handle?"},
    "const void* const*": {"UnsafePointer<UnsafeRawPointer>"},
    "VorlinSpeechAnswer": {"@escaping Answer"}, "VorlinSpeechFormat": {"@escaping Format"},
    "VorlinSpeechResult": {"@escaping Heard"}, "VorlinSpeechEnded": {"@escaping Ended"},
}


def c_type(parameter):
    """The type of a parameter, without its name."""
    return re.sub(r"\s*\b\w+$", "", " ".join(parameter.split()))


def c_functions(text):
    """The header's functions: by name, the result's type and the parameters'."""
    text = re.sub(r"//.*", "", text)
    found = re.findall(r"^(void\*?) (vorlin\w+)\(([^)]*)\);", text, re.MULTILINE)
    return {name: (result, [c_type(each) for each in parameters.split(",")])
            for result, name, parameters in found}


def c_callbacks(text):
    """The header's types of functions: by name, the parameters' types."""
    found = re.findall(r"typedef void \(\*(\w+)\)\(([^)]*)\);", text)
    return {name: [c_type(each) for each in parameters.split(",")] for name, parameters in found}


def swift_functions(text):
    """What is exported to C: by name, the result's type and the parameters'."""
    found = re.findall(r'@_cdecl\("(\w+)"\)\s+public func \w+\(([^)]*)\)(?: -> ([\w?]+))? \{', text)
    return {name: (result, [each.split(":", 1)[1].strip() for each in parameters.split(",")])
            for name, parameters, result in found}


def swift_callbacks(text):
    """What is called in C: by name, the parameters' types."""
    found = re.findall(r"typealias (\w+) = @convention\(c\) \(([^)]*)\) -> Void", text)
    return {name: [each.strip() for each in parameters.split(",")] for name, parameters in found}


def differences(header, swift):
    """What the two say differently, in lines."""
    declared, exported = c_functions(header), swift_functions(swift)
    pairs = [(name, declared.get(name), exported.get(name))
             for name in sorted(declared.keys() | exported.keys())]
    called, told = c_callbacks(header), swift_callbacks(swift)
    for name, parameters in called.items():
        alias = next(iter(NAMES[name])).removeprefix("@escaping ")
        pairs.append((name, ("void", parameters), ("", told[alias]) if alias in told else None))
    for name, in_c, in_swift in pairs:
        if not in_c or not in_swift:
            yield f"{name} is missing in {'the header' if not in_c else 'Swift'}"
        elif len(in_c[1]) != len(in_swift[1]):
            yield f"{name} has {len(in_c[1])} parameters in C, {len(in_swift[1])} in Swift"
        else:
            for one, other in zip([in_c[0], *in_c[1]], [in_swift[0], *in_swift[1]]):
                if other not in NAMES[one]:
                    yield f"{name}: {one} in C, {other or 'nothing'} in Swift"


class Interface(unittest.TestCase):
    """Both files as they stand, and with a mistake in one."""

    def setUp(self):
        self.header, self.swift = HEADER.read_text(), SWIFT.read_text()

    def changed(self, before, after):
        self.assertIn(before, self.swift)
        return list(differences(self.header, self.swift.replace(before, after, 1)))

    def test_swift_offers_what_the_header_declares(self):
        self.assertEqual(len(c_functions(self.header)), 9)
        self.assertEqual(len(c_callbacks(self.header)), 4)
        self.assertEqual(list(differences(self.header, self.swift)), [])

    def test_what_c_knows_by_another_name_is_found(self):
        self.assertEqual(self.changed('"vorlinSpeechCancel"', '"vorlinSpeechStop"'),
                         ["vorlinSpeechCancel is missing in Swift",
                          "vorlinSpeechStop is missing in the header"])

    def test_a_parameter_too_few_is_found(self):
        self.assertEqual(self.changed("_ rate: Double, ", ""),
                         ["vorlinSpeechInput has 7 parameters in C, 6 in Swift"])

    def test_a_parameter_of_another_size_is_found(self):
        self.assertEqual(self.changed("_ frames: UInt32", "_ frames: UInt64"),
                         ["vorlinSpeechInput: uint32_t in C, UInt64 in Swift"])

    def test_a_result_that_c_does_not_take_is_found(self):
        self.assertEqual(self.changed("_ ended: @escaping Ended) -> Handle? {",
                                      "_ ended: @escaping Ended) {"),
                         ["vorlinSpeechStart: void* in C, nothing in Swift"])

    def test_a_callback_with_a_parameter_too_many_is_found(self):
        self.assertEqual(self.changed("(Context, Text?, Bool) -> Void",
                                      "(Context, Text?, Bool, Bool) -> Void"),
                         ["VorlinSpeechResult has 3 parameters in C, 4 in Swift"])


if __name__ == "__main__":
    unittest.main()
