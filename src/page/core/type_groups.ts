// Files of one kind have many extensions: what the map's colours and its legend stand for.

export const GROUPS = ['pictures', 'video', 'audio', 'documents', 'archives', 'programs', 'disks'] as const;
export type TypeGroup = (typeof GROUPS)[number];

const EXTENSIONS: Record<TypeGroup, string> = {
  pictures: 'jpg jpeg png gif bmp tif tiff webp heic heif avif raw nef cr2 cr3 arw dng orf rw2 raf psd psb svg ico xcf ai eps',
  video: 'mp4 mkv avi mov wmv m4v mpg mpeg webm flv ts m2ts mts vob 3gp ogv braw mxf',
  audio: 'mp3 wav flac m4a aac ogg oga opus wma aif aiff mid midi alac ape',
  documents: 'pdf doc docx xls xlsx ppt pptx odt ods odp rtf txt md csv tex epub mobi azw3 pst ost eml msg one htm html xps',
  archives: 'zip rar 7z gz tgz bz2 xz zst tar cab lz4 lzma jar wim esd zipx',
  programs: 'exe dll msi msix msp msu sys appx apk com ocx drv scr cpl pdb lib so node pyd',
  disks: 'iso img vhd vhdx vdi vmdk avhdx qcow2 ova vmem vsv bak tib mrimg dmp ffu bkf',
};

const byExtension = new Map(GROUPS.flatMap((group) => EXTENSIONS[group].split(' ').map((ext): [string, TypeGroup] => [ext, group])));

// The extension of a name with its dot, in lower case; '' if it has none.
export function extensionOf(name: string): string {
  const dot = name.lastIndexOf('.');
  return dot > 0 && dot < name.length - 1 ? name.slice(dot).toLowerCase() : '';
}

// Null for everything else.
export const groupOfType = (type: string): TypeGroup | null => byExtension.get(type.slice(1)) ?? null;
// The files that Windows keeps memory in are no programs, whatever their extension.
const IN_MEMORY = /^(?:pagefile|hiberfil|swapfile)\.sys$/i;
export const groupOf = (name: string): TypeGroup | null => (IN_MEMORY.test(name) ? null : groupOfType(extensionOf(name)));
export const extensionsOf = (group: TypeGroup): string[] => EXTENSIONS[group].split(' ').map((ext) => `.${ext}`);
