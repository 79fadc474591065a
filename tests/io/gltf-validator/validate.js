// Validates each glTF file named on the command line; prints each file's
// errors and exits 1 when any file has one.
const fs = require("fs");
const path = require("path");
const validator = require("gltf-validator");

async function validate(file) {
  const folder = path.dirname(file);
  const report = await validator.validateBytes(new Uint8Array(fs.readFileSync(file)), {
    uri: path.basename(file),
    externalResourceFunction: (uri) =>
      new Promise((resolve, reject) => {
        fs.readFile(path.join(folder, decodeURIComponent(uri)), (error, data) =>
          error ? reject(error.toString()) : resolve(new Uint8Array(data)));
      }),
  });
  const errors = report.issues.messages.filter((message) => message.severity === 0);
  for (const error of errors) console.log(`${file}: ${error.pointer || ""}: ${error.code}: ${error.message}`);
  console.log(`${file}: ${errors.length} errors, ${report.issues.numWarnings} warnings`);
  return errors.length === 0;
}

(async () => {
  const files = process.argv.slice(2);
  if (files.length === 0) {
    console.log("usage: validate.js file.glb|file.gltf ...");
    process.exit(2);
  }
  let valid = true;
  for (const file of files) valid = (await validate(file)) && valid;
  process.exit(valid ? 0 : 1);
})();
