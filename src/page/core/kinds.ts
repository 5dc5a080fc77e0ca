// Extensions by what files are for.
export const KINDS = {
  pictures: '.jpg .jpeg .png .gif .bmp .tif .tiff .webp .heic .avif .psd .svg .cr2 .cr3 .nef .arw .dng .orf .raf',
  video: '.mp4 .mkv .avi .mov .wmv .m4v .mpg .mpeg .webm .flv .ts .m2ts .mts .vob .3gp',
  audio: '.mp3 .flac .wav .m4a .aac .ogg .opus .wma .aiff .mid',
  documents: '.pdf .doc .docx .odt .rtf .txt .md .xls .xlsx .ods .csv .ppt .pptx .odp .epub',
  archives: '.zip .7z .rar .tar .gz .tgz .bz2 .xz .zst .cab',
  images: '.iso .img .vhd .vhdx .vmdk .vdi .qcow2 .wim .esd',
  programs: '.exe .msi .msix .appx .msu .bat .ps1 .jar .apk',
  mail: '.pst .ost .mbox .eml .msg',
} as const;
export type Kind = keyof typeof KINDS;
export const ALL_KINDS = Object.keys(KINDS) as Kind[];

// Which group of extensions a text lists, or ''.
export const kindOfList = (exts: string): Kind | '' => ALL_KINDS.find((kind) => KINDS[kind] === exts.trim()) ?? '';
