// Validates glTF binary files with the Khronos glTF validator; exits 1 when any file has an error.
// usage: node ValidateGlb.js VALIDATOR_DIR FILE.glb...
'use strict';
const fs = require('fs');
const path = require('path');

const validatorDir = process.argv[2];
// With T3D_GLB_STRICT=1 a warning fails the file as an error does
const strict = process.env.T3D_GLB_STRICT === '1';
const files = process.argv.slice(3);
let validator;
try {
  validator = require(path.join(validatorDir, 'node_modules', 'gltf-validator'));
} catch (e) {
  console.error(`gltf-validator is not installed under ${validatorDir}: ${e.message}`);
  process.exit(1);
}
if (files.length === 0) {
  console.error('no .glb file given');
  process.exit(1);
}

(async () => {
  let failed = false;
  for (const file of files) {
    let report;
    try {
      report = await validator.validateBytes(new Uint8Array(fs.readFileSync(file)), { uri: path.basename(file), maxIssues: 20 });
    } catch (e) {
      console.error(`${file}: the validator refused the file: ${e}`);
      failed = true;
      continue;
    }
    const issues = report.issues;
    console.log(`${path.basename(file)}: ${issues.numErrors} errors, ${issues.numWarnings} warnings, ${issues.numInfos} infos`);
    for (const m of issues.messages) {
      if (m.severity <= 1) console.log(`  [${m.severity === 0 ? 'error' : 'warning'}] ${m.code} ${m.pointer || ''}: ${m.message}`);
    }
    if (issues.numErrors > 0 || (strict && issues.numWarnings > 0)) failed = true;
  }
  process.exit(failed ? 1 : 0);
})();
