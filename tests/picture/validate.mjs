// Runs the glTF validator over files and prints one line of JSON for each:
//   {"file": NAME, "errors": {CODE: COUNT}, "warnings": {CODE: COUNT}}
// External buffers and images are loaded. Usage: node validate.mjs FILE...
// Exit status: 0 whatever the files are, 2 without arguments or for a file that cannot be read, 77 without the validator.

import { readFile } from "node:fs/promises";
import { dirname, join } from "node:path";

let validator;
try {
    validator = (await import("gltf-validator")).default;
} catch {
    console.error("validate: SKIPPED: gltf-validator is not installed (scripts/setup installs it)");
    process.exit(77);
}

const files = process.argv.slice(2);
if (files.length === 0) {
    console.error("validate: usage: node validate.mjs FILE...");
    process.exit(2);
}

for (const file of files) {
    const result = { file, errors: {}, warnings: {} };
    const count = (table, code) => { table[code] = (table[code] ?? 0) + 1; };
    let bytes;
    try {
        bytes = new Uint8Array(await readFile(file));
    } catch (error) {
        console.error(`validate: ${file}: ${error.code}`);
        process.exit(2);
    }
    try {
        const report = await validator.validateBytes(bytes, {
            uri: file,
            maxIssues: 0,
            writeTimestamp: false,
            externalResourceFunction: async (uri) =>
                new Uint8Array(await readFile(join(dirname(file), decodeURIComponent(uri)))),
        });
        for (const message of report.issues.messages) {
            if (message.severity === 0) count(result.errors, message.code);
            if (message.severity === 1) count(result.warnings, message.code);
        }
    } catch (error) {
        // What is no glTF at all has no report.
        count(result.errors, String(error));
    }
    console.log(JSON.stringify(result));
}
