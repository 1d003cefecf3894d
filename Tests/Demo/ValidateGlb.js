// Validates glTF binary files with the Khronos glTF validator; exits 1 when any file has an error.
// usage: node ValidateGlb.js VALIDATOR_DIR FILE.glb...
'use strict';
const fs = require('fs');
const path = require('path');

const validatorDir = path.resolve(process.argv[2]);
// With T3D_GLB_STRICT=1 a warning fails the file as an error does
const strict = process.env.T3D_GLB_STRICT === '1';
const files = process.argv.slice(3);
let validator, decoder;
try {
  validator = require(path.join(validatorDir, 'node_modules', 'gltf-validator'));
  decoder = require(path.join(validatorDir, 'node_modules', 'meshoptimizer', 'meshopt_decoder.cjs'));
} catch (e) {
  console.error(`gltf-validator or meshoptimizer is not installed under ${validatorDir}: ${e.message}`);
  process.exit(1);
}
if (files.length === 0) {
  console.error('no .glb file given');
  process.exit(1);
}

const kMeshopt = 'EXT_meshopt_compression';

// The validator does not decode EXT_meshopt_compression: it checks such a file's structure but
// none of its vertex or index data. This decodes every compressed view with meshoptimizer's own
// decoder (the one CesiumJS runs) into a plain glTF binary whose data the validator then checks
// too: bounds, index ranges, feature ids. Null for a file without the extension.
function decodeMeshopt(bytes) {
  const view = Buffer.from(bytes.buffer, bytes.byteOffset, bytes.byteLength);
  const jsonLength = view.readUInt32LE(12);
  const doc = JSON.parse(view.subarray(20, 20 + jsonLength).toString('utf8'));
  if (!(doc.extensionsUsed || []).includes(kMeshopt)) return null;
  const bin = view.subarray(20 + jsonLength + 8);
  const parts = [];
  let length = 0;
  for (const bufferView of doc.bufferViews) {
    const packed = (bufferView.extensions || {})[kMeshopt];
    let data;
    if (packed) {
      data = new Uint8Array(packed.count * packed.byteStride);
      const source = bin.subarray(packed.byteOffset || 0, (packed.byteOffset || 0) + packed.byteLength);
      decoder.decodeGltfBuffer(data, packed.count, packed.byteStride, source, packed.mode, packed.filter);
      delete bufferView.extensions[kMeshopt];
      if (Object.keys(bufferView.extensions).length === 0) delete bufferView.extensions;
    } else {
      data = bin.subarray(bufferView.byteOffset || 0, (bufferView.byteOffset || 0) + bufferView.byteLength);
    }
    length = Math.ceil(length / 8) * 8;
    parts.push([length, data]);
    Object.assign(bufferView, { buffer: 0, byteOffset: length });
    length += data.length;
  }
  length = Math.ceil(length / 4) * 4;
  const plain = Buffer.alloc(length);
  for (const [at, data] of parts) plain.set(data, at);
  doc.buffers = [{ byteLength: length }];
  for (const list of ['extensionsUsed', 'extensionsRequired']) {
    if (!doc[list]) continue;
    doc[list] = doc[list].filter((name) => name !== kMeshopt);
    if (doc[list].length === 0) delete doc[list];
  }
  let text = Buffer.from(JSON.stringify(doc));
  text = Buffer.concat([text, Buffer.alloc((4 - (text.length % 4)) % 4, 0x20)]);
  const head = Buffer.alloc(28);
  head.writeUInt32LE(0x46546c67, 0);
  head.writeUInt32LE(2, 4);
  head.writeUInt32LE(12 + 8 + text.length + 8 + length, 8);
  head.writeUInt32LE(text.length, 12);
  head.writeUInt32LE(0x4e4f534a, 16);
  const binHead = Buffer.alloc(8);
  binHead.writeUInt32LE(length, 0);
  binHead.writeUInt32LE(0x004e4942, 4);
  return new Uint8Array(Buffer.concat([head.subarray(0, 20), text, binHead, plain]));
}

// Validates one file's bytes, prints its counts and issues; true when it passes
async function check(bytes, name) {
  const report = await validator.validateBytes(bytes, { uri: name, maxIssues: 20 });
  const issues = report.issues;
  console.log(`${name}: ${issues.numErrors} errors, ${issues.numWarnings} warnings, ${issues.numInfos} infos`);
  for (const m of issues.messages) {
    if (m.severity <= 1) console.log(`  [${m.severity === 0 ? 'error' : 'warning'}] ${m.code} ${m.pointer || ''}: ${m.message}`);
  }
  return !(issues.numErrors > 0 || (strict && issues.numWarnings > 0));
}

(async () => {
  await decoder.ready;
  let failed = false;
  for (const file of files) {
    const name = path.basename(file);
    try {
      const bytes = new Uint8Array(fs.readFileSync(file));
      if (!(await check(bytes, name))) failed = true;
      const plain = decodeMeshopt(bytes);
      if (plain && !(await check(plain, `${name} decoded`))) failed = true;
    } catch (e) {
      console.error(`${file}: the validator refused the file: ${e}`);
      failed = true;
    }
  }
  process.exit(failed ? 1 : 0);
})();
