"""write_decorators.py HEADER…: writes, in C++, a decorator for each interface of platform headers.

It tells the fault injector of every call before it passes it on, and decorates the objects that the
call hands out, in results and in events."""

import pathlib
import re
import sys

members = {}  # of each interface: result, name, parameters
call_names = {}
decorated = {}  # pointer type: interface
for path in map(pathlib.Path, sys.argv[1:]):
    text = path.read_text()
    separator = "::" if path.name in ("files.h", "engine.h") else "."
    for name, body in re.findall(r"^class (\w+) \{\n(.*?)^\};", text, re.S | re.M):
        members[name] = re.findall(r"virtual (\S+) (\w+)\(([^)]*)\) = 0;", body)
        call_names[name] = name + separator
    decorated |= dict(re.findall(r"^using (\w+Ptr) = std::shared_ptr<(\w+)>;", text, re.M))
# Filled and read by the engine, too, whose own calls must not fail.
del members["IEngineStringVector"], decorated["EngineStringVectorPtr"]
services = {f"std::unique_ptr<{name}>": name for name in members
            if name not in decorated.values() and not name.endswith("Events")}


def definition(interface, result, member, parameters):
    is_event = interface.endswith("Events")
    arguments = []
    for kind, name in re.findall(r"([^,]+?) ?(\w+)(?:,|$)", parameters):
        if kind.removeprefix("const ").removesuffix("&") in decorated:
            name = f"WithFaults({name}, faults)" if is_event else f"Undecorated({name})"
        arguments.append(name)
    real = "real" if is_event else f'Real("{call_names[interface]}{member}")'
    call = f"{real}->{member}({', '.join(arguments)})"
    if result == "Subscription":
        events = parameters.split("&")[0]
        call = f"Forward<Faulty{events}>({real}, {arguments[0]}, faults)"
    elif result in decorated:
        call = f"WithFaults({call}, faults)"
    return f"{result} Faulty{interface}::{member}({parameters}) {{ return {call}; }}"


for pointer in decorated:
    print(f"{pointer} WithFaults({pointer} real, FaultInjector& faults);")
for interface in members:
    print(f"struct Faulty{interface} final : Faulty<{interface}> {{\n  using Faulty::Faulty;")
    for result, member, parameters in members[interface]:
        print(f"  {result} {member}({parameters}) override;")
    print("};")
for interface in members:
    for member in members[interface]:
        print(definition(interface, *member))
for pointer, interface in decorated.items():
    print(f"{pointer} WithFaults({pointer} real, FaultInjector& faults) {{\n"
          f"  return real ? std::make_shared<Faulty{interface}>(real, faults) : nullptr;\n}}")
for pointer, interface in services.items():
    print(f"{pointer} WithFaults({interface}& real, FaultInjector& faults) {{\n"
          f"  return std::make_unique<Faulty{interface}>(NotOwned(real), faults);\n}}")
