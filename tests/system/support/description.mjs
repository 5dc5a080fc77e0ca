// Checks what the program answers against docs/api/openapi.yaml: importing this makes fetch do so for every
// answer of a server on this machine.
import assert from 'node:assert/strict';
import Ajv from 'ajv/dist/2020.js';
import { description as read } from '../../../scripts/openapi.mjs';
import { projectVersion } from './vorda.mjs';

export const description = read(projectVersion);
const METHODS = ['get', 'post'];
export const operations = Object.entries(description.paths).flatMap(([path, item]) =>
  METHODS.filter((method) => item[method]).map((method) => ({ path, method, ...item[method] })));

const ajv = new Ajv({ strict: false, allErrors: false, validateFormats: false });
ajv.addSchema(description, 'api');
const pointer = (...parts) => `api#/${parts.map((part) => part.replaceAll('~', '~0').replaceAll('/', '~1')).join('/')}`;

// The check of what a place in the description says; null if nothing is there.
export const schemaAt = (...parts) => ajv.getSchema(pointer(...parts)) ?? null;

// Where the description has the answers of an operation with this status: a pointer, or null.
function answerAt(path, method, status) {
  const given = description.paths[path][method].responses[status];
  if (!given) return null;
  const place = given.$ref ? given.$ref.slice(2).split('/') : ['paths', path, method, 'responses', String(status)];
  return { place, answer: given.$ref ? description.components.responses[place[2]] : given };
}

// Why an answer is not one that the description allows, or null.
export function faultOf(method, path, status, type, text) {
  const item = description.paths[path];
  const own = item?.[method.toLowerCase()] ? method.toLowerCase() : 'get';
  let check;
  if (!item?.[own]) {
    if (status === 404) check = schemaAt('components', 'schemas', 'ErrorUnknownEndpoint');
    else if ([401, 403, 429].includes(status)) check = schemaAt('components', 'schemas', { 401: 'ErrorWrongKey', 403: 'ErrorForeign', 429: 'ErrorTooManyKeys' }[status]);
    else return `${path} is not described`;
  } else {
    const found = answerAt(path, own, status);
    // Too many fields is said before any route is looked at.
    if (!found && status === 400) check = schemaAt('components', 'schemas', 'ErrorOfFields');
    else if (!found) return `the status ${status} is not described`;
    else {
      const plain = type.split(';')[0];
      if (!found.answer.content[plain]) return `the type ${plain} is not described`;
      if (plain !== 'application/json') return null;
      check = schemaAt(...found.place, 'content', plain, 'schema');
    }
  }
  let document;
  try {
    document = JSON.parse(text);
  } catch {
    return 'not JSON';
  }
  if (check(document)) return null;
  const { instancePath, message, params } = check.errors.at(-1);
  return `${instancePath || '/'} ${message} ${JSON.stringify(params)}`;
}

const plainFetch = globalThis.fetch;
globalThis.fetch = async (target, init) => {
  const response = await plainFetch(target, init);
  const url = new URL(response.url || target);
  if (url.hostname !== '127.0.0.1' || !url.pathname.startsWith('/api/')) return response;
  const text = await response.clone().text();
  const method = init?.method ?? 'GET';
  const fault = faultOf(method, url.pathname, response.status, response.headers.get('content-type') ?? '', text);
  assert.equal(fault, null, `${method} ${url.pathname}: ${response.status} ${text.slice(0, 300)}`);
  return response;
};
