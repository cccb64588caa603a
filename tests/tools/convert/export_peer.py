"""Decodes what the program exports with Python's protobuf package, by what the pages say.

    export_peer.py RECORDING NDJSON MCAP

The schema of frames stands below, as docs/stream-format.md has it; the recording is read as
docs/recorded-files.md says, the MCAP file as docs/export.md says and by the schema that is in it.
Fails where one of the three has another frame than the recording. Ends with status 77 when the
package is not there.
"""

import json
import struct
import sys

try:
    from google.protobuf import descriptor_pb2, descriptor_pool, message_factory
except ImportError:
    sys.exit(print("Python's protobuf package is not there") or 77)

FLOATS = {"rcs": 1, "r": 2, "rdot": 3, "theta": 4, "snr": 6}


def documented_schema():
    """radar_objects.proto, as the page of the stream describes it."""
    kind = descriptor_pb2.FieldDescriptorProto
    file = descriptor_pb2.FileDescriptorProto(
        name="radar_objects.proto", package="RO", syntax="proto3")
    target = file.message_type.add(name="TargetData")
    for name, number in FLOATS.items():
        target.field.add(name=name, number=number, type=kind.TYPE_FLOAT, label=kind.LABEL_OPTIONAL)
    target.field.add(name="options", number=5, type=kind.TYPE_UINT32, label=kind.LABEL_OPTIONAL)
    frame = file.message_type.add(name="RadarObjects")
    frame.field.add(name="magic", number=1, type=kind.TYPE_UINT32, label=kind.LABEL_OPTIONAL)
    frame.field.add(name="timestamp", number=2, type=kind.TYPE_UINT64, label=kind.LABEL_OPTIONAL)
    frame.field.add(name="targets", number=3, type=kind.TYPE_MESSAGE, label=kind.LABEL_REPEATED,
                    type_name=".RO.TargetData")
    return descriptor_pb2.FileDescriptorSet(file=[file])


def message_class(descriptors, name):
    pool = descriptor_pool.DescriptorPool()
    for file in descriptors.file:
        pool.Add(file)
    descriptor = pool.FindMessageTypeByName(name)
    if hasattr(message_factory, "GetMessageClass"):
        return message_factory.GetMessageClass(descriptor)
    return message_factory.MessageFactory(pool).GetPrototype(descriptor)


def recorded_payloads(data):
    at = 40
    while at < len(data):
        tag, length = struct.unpack_from("<II", data, at)
        assert tag >> 16 == 0xFEED, f"a record begins at {at}"
        yield data[at + 8:at + 8 + length]
        at += 8 + length


def mcap_records(data):
    at = 0
    while at < len(data):
        opcode, length = struct.unpack_from("<BQ", data, at)
        yield opcode, data[at + 9:at + 9 + length]
        at += 9 + length


def texts(data, at, count):
    """`count` pieces that have a length in front."""
    for _ in range(count):
        size, = struct.unpack_from("<I", data, at)
        yield data[at + 4:at + 4 + size]
        at += 4 + size


def mcap_frames(data):
    """The times in ns and the frames of an MCAP file, by its own schema."""
    assert data[:8] == data[-8:] == b"\x89MCAP0\r\n", "no MCAP file"
    frame_class = None
    for opcode, content in mcap_records(data[8:-8]):
        if opcode == 3 and frame_class is None:
            name, encoding, descriptors = texts(content, 2, 3)
            assert encoding == b"protobuf", encoding
            frame_class = message_class(
                descriptor_pb2.FileDescriptorSet.FromString(descriptors), name.decode())
        if opcode == 6:
            for inner, message in mcap_records(content[40:]):
                assert inner == 5, inner
                log_time, = struct.unpack_from("<Q", message, 6)
                yield log_time, frame_class.FromString(message[22:])


def values(frame):
    """What a frame says, with floats as their bytes, so that NaN is equal to itself."""
    return (frame.magic, frame.timestamp, [
        (target.options, *(struct.pack("<f", getattr(target, name)) for name in FLOATS))
        for target in frame.targets])


def json_values(frame):
    return (frame["magic"], int(frame["timestamp"]), [
        (target["options"], *(struct.pack("<f", float(target[name])) for name in FLOATS))
        for target in frame["targets"]])


def main(recording, ndjson, mcap):
    with open(recording, "rb") as file:
        payloads = list(recorded_payloads(file.read()))
    frame_class = message_class(documented_schema(), "RO.RadarObjects")
    frames = [values(frame_class.FromString(payload)) for payload in payloads]
    with open(ndjson, encoding="utf-8") as file:
        assert [json_values(json.loads(line)) for line in file] == frames, "the JSON differs"
    with open(mcap, "rb") as file:
        exported = list(mcap_frames(file.read()))
    assert [values(frame) for _, frame in exported] == frames, "the messages differ"
    for (log_time, frame) in exported:
        assert log_time == frame.timestamp * 1000, f"log time {log_time}"
    print(len(frames), "frames,", sum(len(targets) for _, _, targets in frames), "targets")


main(*sys.argv[1:])
