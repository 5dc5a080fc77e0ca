// A machine in a Wine prefix of its own, with drives, a share, finished scans and a tab that shows them.
import fs from 'node:fs';
import { openTab, requestsOf } from './browser.mjs';
import { serve } from '../../system/support/server.mjs';
import { makeFiles, ownWine, scratch } from '../../system/support/vorda.mjs';

const DRIVES = { 'D:\\': 'drive', 'E:\\': 'drive', '\\\\nas\\public': 'unc' };

// The drives and the share have these files, D: further names of some, and others were last changed long ago.
export async function machine(t, { d = {}, e = {}, share = {}, names = {}, changed = {}, scans = ['D:\\'], section = '', title = 'Overview' }) {
  const folder = scratch(t);
  for (const [name, files] of Object.entries({ d, e, share })) {
    fs.mkdirSync(`${folder}/${name}`);
    makeFiles(`${folder}/${name}`, files);
  }
  for (const [name, file] of Object.entries(names)) fs.linkSync(`${folder}/d/${file}`, `${folder}/d/${name}`);
  for (const [file, day] of Object.entries(changed)) fs.utimesSync(`${folder}/d/${file}`, new Date(day), new Date(day));
  const wine = await ownWine(t, { 'd:': `${folder}/d`, 'e:': `${folder}/e` });
  const devices = `${wine.env.VORDA_WINEPREFIX}/dosdevices`;
  fs.mkdirSync(`${devices}/unc/nas`, { recursive: true });
  fs.symlinkSync(`${folder}/share`, `${devices}/unc/nas/public`);
  const server = await serve(t, [], wine);
  const ask = async (path) => (await server.json(path)).body;
  for (const path of scans) await server.scan(path, { kind: DRIVES[path], label: path });
  const { logPath } = await ask('/api/targets');
  const log = fs.realpathSync(`${devices}/c:`) + logPath.slice(2).replaceAll('\\', '/');
  const tab = await openTab(t);
  await tab.goto(`${server.base}/#${section}`);
  await tab.getByRole('heading', { level: 1, name: title }).waitFor();
  return {
    tab, tree: tab.getByRole('treegrid'), sent: requestsOf(tab, '/api/delete'), server, ask, folder, logPath,
    d: `${folder}/d`, e: `${folder}/e`, trash: `${wine.env.VORDA_XDG_DATA_HOME}/Trash/files`,
    lastLogged: () => fs.readFileSync(log, 'utf8').split('\r\n').at(-2).slice(21),
  };
}
