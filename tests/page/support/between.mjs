// A proxy between the page and the real program, for answers that the program can't be made to give:
// wrong, late or truncated ones. Requests without an answer of the test's own are passed on.
import http from 'node:http';
import { text } from 'node:stream/consumers';
import { lastFirst, listen } from '../../system/support/ends.mjs';

const KEPT = ['content-type', 'x-vorda-token'];

// `answers` maps a path to a document or to a function ({ url, body, real }) that makes one; real()
// resolves to the program's answer. CUT is a truncated answer. With `lost`, connections are dropped.
export const CUT = Symbol('cut');

export async function between(t, program) {
  const faults = { answers: {}, lost: false };
  let closed = false;
  const answer = async (request, response) => {
    const body = await text(request);
    const url = new URL(request.url, program);
    const headers = Object.fromEntries(KEPT.filter((name) => name in request.headers).map((name) => [name, request.headers[name]]));
    const passOn = () => fetch(url, { method: request.method, headers, body: body || undefined });
    if (faults.lost) return void response.destroy();
    const own = faults.answers[url.pathname];
    if (own === undefined) {
      const given = await passOn();
      response.writeHead(given.status, { 'Content-Type': given.headers.get('content-type') });
      return void response.end(Buffer.from(await given.arrayBuffer()));
    }
    const real = async () => (await passOn()).json();
    const made = typeof own === 'function' ? await own({ url, body: new URLSearchParams(body), real }) : own;
    response.writeHead(200, { 'Content-Type': 'application/json; charset=utf-8' });
    if (made === CUT) return void response.write('{"cut', () => response.destroy());
    return void response.end(JSON.stringify(made));
  };
  // The program ends after the proxy; requests still under way then fail.
  const server = http.createServer({ maxHeaderSize: 2 ** 20 }, (request, response) => answer(request, response).catch((error) => {
    if (!closed) throw error;
  }));
  const base = `http://127.0.0.1:${await listen(t, server)}`;
  lastFirst(t).after(() => { closed = true; });
  return Object.assign(faults, { base });
}
