#!/usr/bin/env python3
"""What tshark shows of recorded calls is what mrvctl calls --json tells: wireshark_test.py MRVCTL ROOT"""
import json
import pathlib
import subprocess
import sys
import tempfile

PORT_TYPES = ["cif", "bif", "nif", "hif"]


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def flatten(tree, fields):
    """Every field of a packet with its values, in their order."""
    for key, value in tree:
        if isinstance(value, list):
            flatten(value, fields)
        else:
            fields.setdefault(key, []).append(value)
    return fields


def leaves(value):
    if isinstance(value, list):
        return [leaf for part in value for leaf in leaves(part)]
    return [value]


def expected_request(call):
    """The fields that both packets of a call have, and those of its request."""
    fields = {"pid": call["pid"], "program": call["program"], "number": call["number"],
              "op": call["operation"], "case": call["case"], "driver": call["driver"],
              "length": call["length"], "failed": int(call["failed"])}
    entries = call.get("entries", [call])
    for name, key in (("module", "module"), ("asic", "asic"), ("addr", "address"),
                      ("reg", "register"), ("mask", "mask")):
        fields[name] = [entry[key] for entry in entries if entry.get(key) is not None]
    for name, key in (("num", "num"), ("context", "context"), ("func", "func"), ("file", "file"),
                      ("line", "line"), ("transaction", "name"), ("reorder", "reorder"),
                      ("opts", "opts")):
        if key in call:
            fields[name] = call[key]
    if "entries" in call:
        fields["entries"] = fields.pop("num")
        fields["data"] = [entry["data"] for entry in entries]
        fields["lost"] = int(entries[0]["lost"])
        for name in ("context", "func", "file", "line"):
            fields[name] = [entry[name] for entry in entries if name in entry]
    elif call["operation"] == "sp-timer":
        fields["time"] = call["data"]
    elif not call["operation"].startswith("read"):
        fields["data"] = call.get("data", [])
        fields["word"] = call.get("words", [])
    if call.get("port"):
        port_type, port = call["port"].split(":")
        fields["port_type"], fields["port"] = PORT_TYPES.index(port_type), int(port)
    return fields


def expected_answer(call):
    fields = {"result": call["result"], "outcome": call["outcome"],
              "duration": call["duration_ns"], "failed": int(call["failed"])}
    if call["errno"] is not None:
        fields["errno"] = call["errno"]
    if call["operation"].startswith("read") and not call["failed"]:
        fields["data" if call["operation"] == "read" else "word"] = call.get("data", call.get("words"))
        fields["reg"] = call["register"]
    for group, counters in (call.get("stats") or {}).items():
        for name, values in counters.items():
            fields[f"stats.{group}.{name}"] = values
    return fields


def check(frame, packet, expected, names):
    for name, value in expected.items():
        shown = packet.get("morvane." + name, [])
        wanted = leaves(value)
        if wanted and not isinstance(wanted[0], str):
            shown = [int(text, 0) for text in shown]
        assert shown == wanted, f"frame {frame}: {name} is {shown}, not {wanted}"
        if wanted:
            names.add(name)


def main(mrvctl, root):
    recordings = sorted(str(path) for path in pathlib.Path(root, "examples/recordings").glob("*.mrec"))
    with tempfile.TemporaryDirectory() as folder:
        run(mrvctl, "record", folder, "--", mrvctl, "-f", root + "/examples/bringup.mrv")  # with callers
        recordings.append(folder)
        calls = [json.loads(line) for line in run(mrvctl, "--json", "calls", *recordings).splitlines()]
        file = folder + "/calls.pcapng"
        run(mrvctl, "calls", "--pcap", file, *recordings)
        tshark = ["tshark", "-X", f"lua_script:{root}/share/wireshark/morvane.lua", "-r", file]
        shown = run(*tshark, "-2", "-T", "json", "-J", "frame morvane")
        for info in (" write 0x00000010\n", " write HI.2:HI_DHS_LVIF[0]\n", " qos-get nif:9\n", ' answer: transaction "half" EFAULT\n'):
            assert info in run(*tshark), info
    layers = [flatten(packet, {})
              for packet in json.loads(shown, object_pairs_hook=list)]
    requests, answers, names = {}, {}, set()
    for frame, packet in enumerate(layers, 1):
        assert packet["morvane.kind"][0] in "12", packet
        key = packet["morvane.pid"][0], packet["morvane.number"][0]
        (requests if packet["morvane.kind"][0] == "1" else answers)[key] = frame
    for call in calls:
        key = str(call["pid"]), str(call["number"])
        request, answer = requests[key], answers[key]
        check(request, layers[request - 1], expected_request(call), names)
        check(answer, layers[answer - 1], expected_answer(call), names)
        assert layers[answer - 1]["morvane.answer_to"] == [str(request)]
        assert layers[request - 1]["morvane.answer_in"] == [str(answer)]
        seconds, fraction = layers[request - 1]["frame.time_epoch"][0].split(".")
        assert int(seconds + fraction.ljust(9, "0")) == call["time_ns"]
    assert len(layers) == 2 * len(calls) > 20 and len(names) > 40, (len(layers), len(calls), names)


main(*sys.argv[1:])
