// Runs the emulator and a client for it: reads "<load> <size> <callers> <milliseconds>" a line and answers
// with the nanoseconds of one operation.

import { spawn } from "node:child_process";
import crypto from "node:crypto";
import http from "node:http";
import net from "node:net";
import readline from "node:readline";

const [installation, folder] = process.argv.slice(2);
const mostCallers = 64;
const filesToRead = 16;
const bigFileSize = 16 << 20;
const block = 4 << 20;
const listedEntries = 5000;
const account = "bench";
const key = crypto.randomBytes(64);
const container = `/${account}/files`;

const port = await new Promise((resolve) => {
    const probe = net.createServer().listen(0, "127.0.0.1", () => {
        const { port } = probe.address();
        probe.close(() => resolve(port));
    });
});
const emulator = spawn(
    `${installation}/node_modules/.bin/azurite-blob`,
    ["--silent", "--disableTelemetry", "--skipApiVersionCheck",
        "--blobPort", port, "--location", folder],
    {
        env: { ...process.env, AZURITE_ACCOUNTS: `${account}:${key.toString("base64")}` },
        stdio: ["ignore", "ignore", "inherit"],
    });
emulator.on("exit", () => process.exit(1));

const agent = new http.Agent({ keepAlive: true, maxSockets: mostCallers });

function authorization(method, path, query, headers, length) {
    const own = Object.keys(headers).filter((name) => name.startsWith("x-ms-")).sort();
    const text = [
        method, "", "", length || "", "", "", "", "", "", "", "", headers.range ?? "",
        ...own.map((name) => `${name}:${headers[name]}`),
        `/${account}${path}`,
        ...Object.keys(query).sort().map((name) => `${name}:${query[name]}`),
    ].join("\n");
    const signature = crypto.createHmac("sha256", key).update(text).digest("base64");
    return `SharedKey ${account}:${signature}`;
}

function request(method, path, { query = {}, headers = {}, body } = {}) {
    const all = {
        "x-ms-date": new Date().toUTCString(), "x-ms-version": "2021-12-02", ...headers,
    };
    const length = body?.length ?? 0;
    all.authorization = authorization(method, path, query, all, length);
    all["content-length"] = length;
    const text = new URLSearchParams(query).toString();
    return new Promise((resolve, reject) => {
        const call = http.request(
            { host: "127.0.0.1", port, agent, method, headers: all,
                path: path + (text && `?${text}`) },
            (answer) => {
                const parts = [];
                answer.on("data", (part) => parts.push(part));
                answer.on("end", () => {
                    const bytes = Buffer.concat(parts);
                    answer.statusCode < 300 ? resolve(bytes)
                        : reject(new Error(`${method} ${path}: ${answer.statusCode} ${bytes}`));
                });
            });
        call.on("error", reject);
        call.end(body);
    });
}

const content = crypto.randomBytes(bigFileSize);
const put = (name, size) => request("PUT", `${container}/${name}`, {
    headers: { "x-ms-blob-type": "BlockBlob" }, body: content.subarray(0, size),
});
const get = (name) => request("GET", `${container}/${name}`);
const fileToRead = (size, number) => `read-${size}-${number % filesToRead}`;
let names = 0;

function expect(is, wanted) {
    if (is !== wanted) throw new Error(`Azurite returned ${is}, not ${wanted}`);
}

const operations = {
    put: (size) => put(`put-${++names}`, size),
    get: async (size, number) => expect((await get(fileToRead(size, number))).length, size),
    range: async (size, number) => {
        const start = ((number * 7919) % (bigFileSize / size)) * size;
        const headers = { range: `bytes=${start}-${start + size - 1}` };
        expect((await request("GET", `${container}/big`, { headers })).length, size);
    },
    list: async () => {
        const query = { restype: "container", comp: "list", prefix: "listed/" };
        const answer = (await request("GET", container, { query })).toString();
        expect(answer.match(/<Name>[^<]*<\/Name>/g).length, listedEntries);
    },
    // Blocks of 4 MiB, four at once.
    upload: async (size) => {
        const ids = Array.from({ length: size / block }, (_, i) =>
            Buffer.from(String(i).padStart(8, "0")).toString("base64"));
        await inTurns(ids.length, (i) => request("PUT", `${container}/uploaded`, {
            query: { comp: "block", blockid: ids[i] }, body: content.subarray(0, block),
        }));
        const list = ids.map((id) => `<Latest>${id}</Latest>`).join("");
        await request("PUT", `${container}/uploaded`, {
            query: { comp: "blocklist" },
            body: Buffer.from(`<?xml version="1.0"?><BlockList>${list}</BlockList>`),
        });
    },
    download: (size) => inTurns(size / block, async (i) => {
        const headers = { range: `bytes=${i * block}-${(i + 1) * block - 1}` };
        expect((await request("GET", `${container}/uploaded`, { headers })).length, block);
    }),
    mixed: (size, number) => operations[number % 4 ? "get" : "put"](size, number),
};

async function inTurns(count, work) {
    let next = 0;
    await onCallers(4, async () => {
        while (next < count) await work(next++);
    });
}

async function onCallers(count, work) {
    await Promise.all(Array.from({ length: count }, (_, caller) => work(caller)));
}

async function prepare() {
    for (let tries = 0; ; ++tries) {
        try {
            await request("PUT", container, { query: { restype: "container" } });
            break;
        } catch (error) {
            if (tries === 100) throw error;
            await new Promise((resolve) => setTimeout(resolve, 100));
        }
    }
    for (const size of [1 << 10, 64 << 10, 4 << 20]) {
        for (let i = 0; i < filesToRead; ++i) await put(fileToRead(size, i), size);
    }
    await put("big", bigFileSize);
    let entries = 0;
    await onCallers(8, async () => {
        while (entries < listedEntries) await put(`listed/entry-${entries++}`, 0);
    });
}

async function measure(load, size, callers, milliseconds) {
    const start = process.hrtime.bigint();
    const passed = () => Number(process.hrtime.bigint() - start);
    let done = 0;
    await onCallers(callers, async (caller) => {
        let number = caller * 1000;
        do {
            await operations[load](size, number++);
            ++done;
        } while (passed() < milliseconds * 1e6);
    });
    return passed() / done / (load === "list" ? listedEntries : 1);
}

try {
    await prepare();
    for await (const line of readline.createInterface({ input: process.stdin })) {
        const [load, ...numbers] = line.split(" ");
        console.log(await measure(load, ...numbers.map(Number)));
    }
} catch (error) {
    console.error(error.message);
}
emulator.removeAllListeners("exit");
emulator.once("exit", () => process.exit());
emulator.kill();
