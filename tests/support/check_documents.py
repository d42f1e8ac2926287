# SPDX-License-Identifier: GPL-3.0-or-later
"""Checks JSON documents against a schema, for tests.

    check_documents.py SCHEMA FILE...
    check_documents.py --written DEFAULTS SCHEMA FILE...

Prints one line for each file: "valid", or why it is not. With --written the files are what the program writes in all
its variants: then keys that the schema does not know are wrong, too, and a line follows for each key of the schema that
stands in no file, and for each default of the schema that is not the one in the document DEFAULTS ("-" for none).
"""
import json
import sys

try:
    import jsonschema
except ImportError:
    sys.exit("python3-jsonschema fehlt: tools/install-packages tools/packages-test.txt")


def closed(schema):
    """The same schema without room for other keys."""
    if isinstance(schema, dict):
        made = {key: closed(value) for key, value in schema.items()}
        if made.get("type") == "object":
            made["additionalProperties"] = False
        return made
    return [closed(each) for each in schema] if isinstance(schema, list) else schema


def objects_of(schema):
    """The objects that a schema describes: itself, and its definitions by name."""
    return {"": schema, **schema.get("$defs", {})}


def keys_in(value):
    if isinstance(value, dict):
        return set(value).union(*map(keys_in, value.values()))
    return set().union(*map(keys_in, value)) if isinstance(value, list) else set()


def main(words):
    written = words[0] == "--written"
    defaults = words[1] if written else "-"
    schema_file, *files = words[2:] if written else words
    with open(schema_file, encoding="utf-8") as file:
        schema = json.load(file)
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(closed(schema) if written else schema)
    found = set()
    for name in files:
        with open(name, encoding="utf-8") as file:
            document = json.load(file)
        found |= keys_in(document)
        error = jsonschema.exceptions.best_match(validator.iter_errors(document))
        print(f"{error.json_path}: {error.message}" if error else "valid")
    if not written:
        return
    for name, described in objects_of(schema).items():
        for key in described["properties"]:
            if key not in found:
                print(f"no document has {name} {key}")
    if defaults != "-":
        with open(defaults, encoding="utf-8") as file:
            values = json.load(file)
        for key, described in schema["properties"].items():
            if key in values and described.get("default") != values[key]:
                print(f"the default of {key} is {values[key]}")


main(sys.argv[1:])
