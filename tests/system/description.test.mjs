// The description of the API: complete, valid, served, and the same as what people read.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { test } from 'node:test';
import { Validator } from '@seriousme/openapi-schema-validator';
import { description, faultOf, operations, schemaAt } from './support/description.mjs';
import { serve } from './support/server.mjs';

const read = (name) => fs.readFileSync(new URL(`../../${name}`, import.meta.url), 'utf8');
const manual = read('docs/api/API.md');

test('it is a valid description, and served as it is', async (t) => {
  const { valid, errors } = await new Validator().validate(structuredClone(description));
  assert.ok(valid, JSON.stringify(errors));
  const server = await serve(t);
  assert.deepEqual((await server.json('/api/openapi.json')).body, description);
});

test('it has the routes of the program and of API.md', () => {
  const source = [...read('src/api/routes.cpp').matchAll(/\{"(\/api\/[\w.]+)",\s*"(\w*)"/g)].map(([, path, method]) => `${method || 'GET'} ${path}`);
  assert.ok(source.length > 20);
  assert.deepEqual(operations.map(({ path, method }) => `${method.toUpperCase()} ${path}`).sort(), source.sort());
  const listed = [...manual.matchAll(/^\| `(?:(GET|POST) )?(\/api\/[\w.]+)` \|(.*?)\|/gm)];
  assert.deepEqual(listed.map(([, method, path]) => `${method ?? 'GET'} ${path}`).sort(), source);
  for (const [, method, path, named] of listed) {
    const operation = description.paths[path][(method ?? 'get').toLowerCase()];
    const parameters = (operation.parameters ?? []).map((one) => one.name ?? description.components.parameters[one.$ref.split('/').pop()].name);
    const fields = Object.keys(operation.requestBody?.content['application/x-www-form-urlencoded'].schema.properties ?? {}).filter((name) => name !== 'cancel');
    assert.deepEqual([...named.matchAll(/`(\w+)`/g)].map(([, name]) => name).sort(), [...parameters, ...fields].sort(), `${path} in API.md`);
  }
});

test('it has the words of the program, and API.md has them too', () => {
  const described = new Set();
  const collect = (schema) => {
    for (const word of schema.enum ?? []) described.add(word);
    for (const inner of [...(schema.anyOf ?? []), ...Object.values(schema.properties ?? {})]) collect(inner);
  };
  for (const [name, schema] of Object.entries(description.components.schemas)) {
    if (/^Error|Failure$|^Refusal$/.test(name)) collect(schema);
  }
  const words = [...read('src/api/words.h').matchAll(/ = "([^"]+)";/g)].map(([, word]) => word);
  assert.ok(words.length > 15);
  const elsewhere = ['notScanned', 'emptyFailed', 'unreadable']; // in answers that are no errors, or more than one
  assert.deepEqual(words.filter((word) => !described.has(word) && !elsewhere.includes(word)), []);
  assert.deepEqual([...described].filter((word) => !new RegExp(`[\`":]${word}[\`":]|error \`${word}`).test(manual)), []);
});

test('its examples are what it describes', () => {
  let examples = 0;
  const check = (place, content) => {
    for (const [type, { example }] of Object.entries(content ?? {})) {
      if (example === undefined) continue;
      const valid = schemaAt(...place, 'content', type, 'schema');
      assert.ok(valid(example), `${place.join(' ')}: ${JSON.stringify(valid.errors)}`);
      examples += 1;
    }
  };
  for (const { path, method, requestBody, responses } of operations) {
    for (const [status, { content }] of Object.entries(responses)) check(['paths', path, method, 'responses', status], content);
    // Form fields are texts on the wire.
    if (requestBody) assert.ok(requestBody.content['application/x-www-form-urlencoded'].example, path);
  }
  for (const [name, { content }] of Object.entries(description.components.responses)) check(['components', 'responses', name], content);
  assert.ok(examples > 25);
});

test('a wrong answer is caught', () => {
  const json = 'application/json; charset=utf-8';
  const good = '{"auth":false,"server":false,"canQuit":true}';
  assert.equal(faultOf('GET', '/api/hello', 200, json, good), null);
  for (const [method, path, status, type, text] of [
    ['GET', '/api/hello', 200, json, '{"auth":false,"server":false}'],
    ['GET', '/api/hello', 200, json, '{"auth":false,"server":false,"canQuit":true,"more":1}'],
    ['GET', '/api/hello', 200, 'text/html', good],
    ['GET', '/api/hello', 201, json, good],
    ['GET', '/api/helo', 404, json, '{"error":"unknown"}'],
    ['POST', '/api/scan', 200, json, '{"id":0,"ok":true}'],
  ]) assert.notEqual(faultOf(method, path, status, type, text), null, `${method} ${path} ${status} ${text}`);
});
