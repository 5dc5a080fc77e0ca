// node scripts/packing/postman.mjs VERSION OUT: the description of the API as a collection for Postman, with
// requests that work as they are: they go from a scan to its result, and wait where something runs. What
// deletes or ends the program is skipped until the variable "really" is "yes".
import fs from 'node:fs';
import converter from 'openapi-to-postmanv2';
import { description } from '../openapi.mjs';

const [version, out] = process.argv.slice(2);
const ORDER = ['hello', 'about', 'openapi', 'targets', 'browse', 'files', 'scan', 'jobs', 'result', 'dirs', 'ext', 'types',
  'account', 'file', 'export', 'findFiles', 'foundFiles', 'findDuplicates', 'duplicates', 'preview', 'verify', 'verified', 'delete', 'reveal',
  'open', 'openBin', 'update', 'elevate', 'bins', 'cleanable', 'cleanup', 'emptyBin', 'log', 'cancel', 'forget', 'quit'];
const GUARDED = ['delete', 'cleanup', 'emptyBin', 'elevate', 'quit', 'reveal', 'open', 'openBin'];
const HARMLESS = { delete: 'dryrun' }; // guarded unless this field is set, as it is in the example
const VARIABLES = { baseUrl: 'http://127.0.0.1:7666', key: '', folder: 'C:\\Users\\Public', file: 'C:\\Users\\Public\\desktop.ini', id: '1', really: 'no' };
const PLACES = { 'C:\\data\\a.txt': '{{file}}', 'C:\\data': '{{folder}}', 'C:\\': '{{folder}}' };
// The update check needs the maker's site, and a preview an image.
const ALLOWED = { update: [200, 502], elevate: [200, 400], quit: [200, 400], emptyBin: [200, 500], preview: [200, 404] };

const document = description(version);
const operations = Object.entries(document.paths).flatMap(([path, item]) => Object.entries(item).map(([method, one]) => ({ path, method, ...one })));

const script = (listen, ...lines) => ({ listen, script: { type: 'text/javascript', exec: lines } });

function eventsOf({ operationId }) {
  const allowed = JSON.stringify(ALLOWED[operationId] ?? [200]);
  const test = [`pm.test('answers', () => pm.expect(${allowed}).to.include(pm.response.code));`];
  const again = (condition) => test.push(`if (${condition}) setTimeout(() => pm.execution.setNextRequest(pm.info.requestName), 200);`);
  if (operationId !== 'export') test.push('const answer = pm.response.json();');
  if (operationId === 'scan') test.push("pm.collectionVariables.set('id', answer.id);");
  if (operationId === 'jobs') again("answer.some((job) => job.state === 'scanning')");
  if (['foundFiles', 'duplicates', 'verified'].includes(operationId)) again('answer.running');
  const events = [script('test', ...test)];
  if (GUARDED.includes(operationId) && !HARMLESS[operationId]) {
    events.push(script('prerequest', "if (pm.variables.get('really') !== 'yes') pm.execution.skipRequest();"));
  }
  return events;
}

const place = (value) => PLACES[value] ?? value;

// The query of an operation, of the parameters that have an example.
const queryOf = ({ parameters = [] }) => parameters.map((one) => (one.$ref ? document.components.parameters[one.$ref.split('/').at(-1)] : one))
  .filter((one) => one.in === 'query' && one.name !== 'token' && one.example !== undefined)
  .map(({ name, example }) => ({ key: name, value: ['id', 'job'].includes(name) ? '{{id}}' : place(String(example)) }));

// One request, from what the converter made of it.
function requestOf(item, operation) {
  const { request } = item;
  const query = queryOf(operation);
  const url = { raw: `{{baseUrl}}${operation.path}${query.length ? `?${query.map(({ key, value }) => `${key}=${value}`).join('&')}` : ''}`, host: ['{{baseUrl}}'], path: operation.path.split('/').slice(1), ...(query.length ? { query } : {}) };
  const example = operation.requestBody?.content['application/x-www-form-urlencoded'].example ?? null;
  const fields = Object.entries(example ?? {}).flatMap(([key, value]) => [value].flat().map((one) => ({ key, value: key === 'ids' || key === 'job' ? '{{id}}' : place(String(one)) })));
  return {
    name: operation.operationId, event: eventsOf(operation),
    request: {
      method: request.method, url, description: operation.summary,
      header: [{ key: 'X-Vorda-Token', value: '{{key}}' }],
      ...(example ? { body: { mode: 'urlencoded', urlencoded: fields } } : {}),
    },
    response: [],
  };
}

const items = (group) => group.item.flatMap((one) => (one.item ? items(one) : [one]));

converter.convert({ type: 'json', data: document }, { requestParametersResolution: 'Example', schemaFaker: false, folderStrategy: 'Paths' }, (error, result) => {
  if (error || !result.result) throw new Error(error ?? result.reason);
  const collection = result.output[0].data;
  const made = items(collection).map((item) => {
    const path = `/${item.request.url.path.join('/')}`;
    const operation = operations.find((one) => one.path === path && one.method === item.request.method.toLowerCase());
    return requestOf(item, operation);
  });
  if (made.length !== operations.length) throw new Error(`${made.length} requests for ${operations.length} operations`);
  const rank = ({ name }) => (ORDER.includes(name) ? ORDER.indexOf(name) : ORDER.indexOf('cancel') - 0.5);
  made.sort((a, b) => rank(a) - rank(b));
  fs.writeFileSync(out, `${JSON.stringify({
    info: { name: `Vorda ${version}`, description: document.info.description, schema: collection.info.schema },
    item: made,
    variable: Object.entries(VARIABLES).map(([key, value]) => ({ key, value })),
  }, null, 1)}\n`);
});
