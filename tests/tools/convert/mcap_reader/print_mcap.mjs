// Prints what an MCAP file holds, read by its index and as a stream; fails when the two differ or a
// checksum is wrong.
//
//   node print_mcap.mjs FOLDER FILE      FOLDER has the packages of package.json
//
// Ends with status 77 when the packages are not there.

import { open, readFile } from "node:fs/promises";
import { createRequire } from "node:module";

const [folder, path] = process.argv.slice(2);

function load(name) {
    try {
        return createRequire(`${folder}/package.json`)(name);
    } catch (error) {
        console.error(`the npm package ${name} is not in the build folder`);
        process.exit(77);
    }
}

const { McapIndexedReader, McapStreamReader } = load("@mcap/core");
const { FileHandleReadable } = load("@mcap/nodejs");
const { crc32 } = load("@foxglove/crc");

const hex = (bytes) => Buffer.from(bytes).toString("hex");
const pairs = (map) => [...map].map(([key, value]) => ` ${key}=${value}`).sort().join("");
const text = {
    schema: (s) => `schema ${s.id} ${s.name} ${s.encoding} ${hex(s.data)}`,
    channel: (c) => `channel ${c.id} schema ${c.schemaId} ${c.topic} ${c.messageEncoding}${pairs(c.metadata)}`,
    metadata: (m) => `metadata ${m.name}${pairs(m.metadata)}`,
    message: (m) => `message ${m.channelId} ${m.sequence} ${m.logTime} ${m.publishTime} ${hex(m.data)}`,
};

async function readByIndex(handle) {
    const reader = await McapIndexedReader.Initialize({ readable: new FileHandleReadable(handle) });
    const s = reader.statistics;
    const summary = [
        `header ${reader.header.library}`,
        ...[...reader.schemasById.values()].map(text.schema),
        ...[...reader.channelsById.values()].map(text.channel),
        `statistics messages ${s.messageCount} schemas ${s.schemaCount} channels ${s.channelCount} ` +
            `metadata ${s.metadataCount} chunks ${s.chunkCount} times ${s.messageStartTime} ` +
            `${s.messageEndTime} of${pairs(s.channelMessageCounts)}`,
        `chunks ${reader.chunkIndexes.length}`,
        `offsets ${[...reader.summaryOffsetsByOpcode.keys()].sort((a, b) => a - b).join(" ")}`,
    ];
    for await (const metadata of reader.readMetadata()) summary.push(text.metadata(metadata));
    const messages = [];
    for await (const message of reader.readMessages({ validateCrcs: true })) {
        messages.push(text.message(message));
    }
    return { summary, messages, footer: reader.footer };
}

function readAsStream(bytes) {
    const reader = new McapStreamReader({ validateCrcs: true });
    const messages = [];
    let dataEnd = undefined;
    // In pieces, as from a network.
    for (let at = 0; at < bytes.length; at += 65521) {
        reader.append(bytes.subarray(at, at + 65521));
        for (let record; (record = reader.nextRecord()); ) {
            if (record.type === "Message") messages.push(text.message(record));
            if (record.type === "DataEnd") dataEnd = record;
        }
    }
    if (!reader.done()) throw new Error("the stream does not end");
    return { messages, dataEnd };
}

const handle = await open(path, "r");
const indexed = await readByIndex(handle);
await handle.close();
const bytes = await readFile(path);
const streamed = readAsStream(bytes);

// The summary begins right behind the record that ends the data section: 9 bytes and the checksum.
const dataSize = Number(indexed.footer.summaryStart) - 9 - 4;
if (streamed.dataEnd.dataSectionCrc !== crc32(bytes.subarray(0, dataSize))) {
    throw new Error("the data section's checksum is wrong");
}
// By its index a file is read in order of time.
const sorted = [...streamed.messages].sort().join("\n");
if (sorted !== [...indexed.messages].sort().join("\n")) throw new Error("the readers differ");
console.log([...indexed.summary, ...streamed.messages].join("\n"));
