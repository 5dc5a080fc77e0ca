// The files of an invented computer, about 57,000 with 550 GB: what users have, in the sizes that they have it.
const KiB = 2 ** 10;
const MiB = 2 ** 20;
const GiB = 2 ** 30;

// Always the same numbers, from 0 to 1.
function numbers(seed) {
  let state = seed;
  return () => {
    state = (Math.imul(state, 1_664_525) + 1_013_904_223) >>> 0;
    return state / 2 ** 32;
  };
}

// `count` files below a folder: `name(i)` and a size between two bounds, mostly near the lower one.
const many = (random, folder, count, name, least, most) =>
  Array.from({ length: count }, (_, i) => [`${folder}/${name(i)}`, Math.floor(least * (most / least) ** (random() ** 2))]);

export function realisticDisk() {
  const random = numbers(7);
  const me = 'Users/Anna';
  const add = (...rest) => many(random, ...rest);
  const pad = (i, width = 4) => String(i).padStart(width, '0');
  return Object.fromEntries([
    ...[2014, 2015, 2016, 2017, 2018, 2019, 2020, 2021, 2022, 2023].flatMap((year, at) => [
      ...add(`${me}/Pictures/${year}`, 250 + 40 * at, (i) => `DSC_${pad(i)}.JPG`, 3 * MiB, 9 * MiB),
      ...add(`${me}/Pictures/${year}/raw`, 60 + 20 * at, (i) => `DSC_${pad(i)}.NEF`, 22 * MiB, 48 * MiB),
    ]),
    ...add(`${me}/Videos/Norway`, 24, (i) => `GOPR${pad(i)}.MP4`, 300 * MiB, 4 * GiB),
    ...add(`${me}/Videos/Phone`, 180, (i) => `VID_2023${pad(i)}.mp4`, 20 * MiB, 400 * MiB),
    [`${me}/Videos/Wedding.mkv`, 7.7 * GiB],
    ...add(`${me}/Music`, 2600, (i) => `Artist ${Math.floor(i / 40)}/Album ${Math.floor(i / 10) % 4}/${pad(i, 2)}.flac`, 12 * MiB, 45 * MiB),
    ...add(`${me}/Documents`, 900, (i) => `${['Letters', 'Taxes', 'School', 'Work', 'Manuals'][i % 5]}/${pad(i)}.${['docx', 'pdf', 'xlsx', 'pptx'][i % 4]}`, 30 * KiB, 30 * MiB),
    [`${me}/Documents/Outlook/anna.pst`, 9.4 * GiB],
    ...add(`${me}/Downloads`, 160, (i) => `download ${i}.${['zip', 'exe', 'pdf', 'msi', '7z'][i % 5]}`, 500 * KiB, 900 * MiB),
    [`${me}/Downloads/windows_11.iso`, 6.2 * GiB], [`${me}/Downloads/archive 2019.zip`, 13.4 * GiB],
    ...add(`${me}/AppData/Local/Temp`, 700, (i) => `~tmp${i}.tmp`, 4 * KiB, 160 * MiB),
    ...add(`${me}/AppData/Local/Browser/User Data/Default/Cache`, 4000, (i) => `f_${pad(i, 6)}`, 8 * KiB, 5 * MiB),
    ...add(`${me}/AppData/Local/Packages`, 1500, (i) => `App${i % 40}/LocalState/${i}.dat`, 2 * KiB, 20 * MiB),
    ...add(`${me}/AppData/Roaming/Mail`, 300, (i) => `store/${i}.db`, 100 * KiB, 90 * MiB),
    ...['web', 'shop', 'tool'].flatMap((name) => add(`${me}/source/${name}/node_modules`, 6500, (i) => `pkg${i % 420}/lib/${i}.js`, 700, 90 * KiB)),
    ...add(`${me}/source/tool/build`, 300, (i) => `obj/${i}.obj`, 40 * KiB, 8 * MiB),
    ...add('Program Files', 5200, (i) => `Program ${i % 46}/${['bin', 'lib', 'res'][i % 3]}/${i}.${['dll', 'exe', 'pak', 'dat'][i % 4]}`, 20 * KiB, 110 * MiB),
    ...add('Program Files (x86)/Games', 900, (i) => `Game ${i % 6}/data/${i}.pak`, 4 * MiB, 1.5 * GiB),
    ...add('ProgramData/Package Cache', 260, (i) => `{${pad(i, 8)}}/setup.msi`, 200 * KiB, 250 * MiB),
    ...add('Windows/System32', 4300, (i) => `${i % 5 === 0 ? 'drivers/' : ''}sys${pad(i)}.${i % 7 === 0 ? 'sys' : 'dll'}`, 15 * KiB, 20 * MiB),
    ...add('Windows/WinSxS', 9000, (i) => `amd64_component-${i % 2100}/file${i}.dll`, 8 * KiB, 7 * MiB),
    ...add('Windows/Installer', 210, (i) => `${pad(i, 5)}.msp`, 400 * KiB, 210 * MiB),
    ...add('Windows/SoftwareDistribution/Download', 90, (i) => `${pad(i, 6)}/package.cab`, 2 * MiB, 420 * MiB),
    ...add('Windows/Temp', 60, (i) => `setup${i}.log`, 10 * KiB, 300 * MiB),
    ['Virtual machines/Debian/debian.vhdx', 42 * GiB], ['Virtual machines/Windows/windows.vhdx', 61 * GiB],
    ...add('Backup/Phone', 1400, (i) => `IMG_${pad(i)}.HEIC`, MiB, 6 * MiB), ['Backup/windows_11.iso', 6.2 * GiB], ['Backup/laptop.tib', 24 * GiB],
    ['hiberfil.sys', 6.3 * GiB], ['pagefile.sys', 9.5 * GiB],
  ].map(([name, size]) => [name, Math.floor(size)]));
}

// When most of it was last changed: pictures in the year of their folder, downloads and machines years ago.
export function lastChanged(name) {
  const year = /Pictures\/(\d{4})/.exec(name)?.[1];
  if (year) return new Date(`${year}-08-14`);
  if (/archive 2019|Wedding|debian\.vhdx|laptop\.tib|Phone/.test(name)) return new Date('2019-03-04');
  if (/Program|Windows\//.test(name)) return new Date('2022-11-08');
  return null;
}
