"""Signs programs with the certificate that the environment names; without one they stay unsigned.

VORDA_SIGN_PFX       a certificate with its key, as a PKCS#12 file, or
VORDA_SIGN_PKCS11    the module of a token, with VORDA_SIGN_CERTIFICATE (a file) and VORDA_SIGN_KEY (an id)
VORDA_SIGN_PASSFILE  a file with the password of either, so that no command line shows it
VORDA_SIGN_TIMESTAMP the address of an RFC 3161 time-stamp server
"""
import os
import pathlib
import shlex
import subprocess
import sys


def time_option():
    """Older versions of osslsigncode call it -st."""
    said = subprocess.run(["osslsigncode", "--help"], capture_output=True, text=True).stdout
    return "-st" if "-st <unix-time>" in said else "-time"


def arguments():
    """What osslsigncode needs besides the files; None if nothing is to be signed."""
    said = os.environ.get
    if said("VORDA_SIGN_PFX"):
        command = ["-pkcs12", said("VORDA_SIGN_PFX")]
    elif said("VORDA_SIGN_PKCS11"):
        command = ["-pkcs11module", said("VORDA_SIGN_PKCS11"), "-certs", os.environ["VORDA_SIGN_CERTIFICATE"],
                   "-key", os.environ["VORDA_SIGN_KEY"]]
    else:
        return None
    if said("VORDA_SIGN_PASSFILE"):
        command += ["-readpass", said("VORDA_SIGN_PASSFILE")]
    command += ["-h", "sha256", "-n", "Vorda", time_option(), os.environ["SOURCE_DATE_EPOCH"]]
    if said("VORDA_SIGN_TIMESTAMP"):
        command += ["-ts", said("VORDA_SIGN_TIMESTAMP")]
    return command


def sign(program):
    command = arguments()
    if command is None:
        return
    program = pathlib.Path(program)
    signed = program.with_name(program.name + ".signed")
    subprocess.run(["osslsigncode", "sign", *command, "-in", program, "-out", signed], check=True, stdout=sys.stderr)
    signed.replace(program)


def command_for_makensis():
    """The command by which makensis has the uninstaller signed, or None."""
    if arguments() is None:
        return None
    return f"{shlex.quote(sys.executable)} {shlex.quote(str(pathlib.Path(__file__).resolve()))}"


if __name__ == "__main__":
    sign(sys.argv[1])
