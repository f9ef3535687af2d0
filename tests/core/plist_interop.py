#!/usr/bin/env python3
"""Cross-checks the settings store against Python's own property-list reader and writer.

  plist_interop.py check FILE EXPECTED_JSON   FILE must parse and equal the JSON description
  plist_interop.py write FILE FORMAT JSON     writes the JSON description as xml or binary

A JSON description is a list of [key, type, value] in file order; type is one of
int, bool, real, string, array. Exit status 0 means agreement.
"""
import json
import plistlib
import sys

KINDS = {"int": int, "bool": bool, "real": float, "string": str, "array": list}


def build(description):
    result = {}
    for key, kind, value in description:
        result[key] = KINDS[kind](value) if kind != "array" else list(value)
    return result


def check(path, expected_json):
    with open(path, "rb") as f:
        data = f.read()
    if not data.startswith(b"<?xml"):
        print("not an XML property list", file=sys.stderr)
        return 1
    actual = plistlib.loads(data)
    expected = json.loads(expected_json)
    if list(actual.keys()) != [k for k, _, _ in expected]:
        print(f"key order differs: {list(actual.keys())}", file=sys.stderr)
        return 1
    for key, kind, value in expected:
        got = actual[key]
        if type(got) is not KINDS[kind]:
            print(f"{key}: type {type(got).__name__}, expected {kind}", file=sys.stderr)
            return 1
        if got != (list(value) if kind == "array" else KINDS[kind](value)):
            print(f"{key}: value {got!r}, expected {value!r}", file=sys.stderr)
            return 1
    return 0


def write(path, fmt, description_json):
    fmt = plistlib.FMT_BINARY if fmt == "binary" else plistlib.FMT_XML
    with open(path, "wb") as f:
        plistlib.dump(build(json.loads(description_json)), f, fmt=fmt, sort_keys=False)
    return 0


if __name__ == "__main__":
    if len(sys.argv) == 4 and sys.argv[1] == "check":
        sys.exit(check(sys.argv[2], sys.argv[3]))
    if len(sys.argv) == 5 and sys.argv[1] == "write":
        sys.exit(write(sys.argv[2], sys.argv[3], sys.argv[4]))
    print(__doc__, file=sys.stderr)
    sys.exit(2)
