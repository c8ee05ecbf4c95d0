"""The command `prepare_network.py`."""

from __future__ import annotations

import argparse
import os
import sys
from pathlib import Path

from .network_file import READING_ERRORS, first_line, read_network, write_atomically
from .preparation import Prepared, Wishes, class_names, prepare
from .refusal import Difference, Refusal, WorkFailure
from .verification import Report, verify

DONE, DIFFERENT, BAD_INPUT, FAILED = 0, 1, 2, 3
INTERRUPTED = 130
PROGRAM = "prepare_network.py"

DESCRIPTION = """\
Makes a network that the models take out of an ordinary export of YOLOv5 or of YOLOv8 segmentation:
static shape, float32, opset 12, constants computed, tensors named as the models name them.
Needs python3-onnx and python3-numpy. The result is run on OpenCV (python3-opencv) and on ONNX Runtime, as
far as they can be imported, else with NumPy, and compared with the file as it came, which is computed
with NumPy."""

EPILOG = """\
forms:
  fused   YOLOv5, its detection layer included: input image, output output0 [1, N, classes + 5]; takes RGB.
          What is written for a YOLOv5 export; model yolov5.
  cut     YOLOv5 before its detection layer, with --cut: input images, outputs
          /model.24/m.{0,1,2}/Conv_output_0; takes BGR; model yolov5_cutoff, which has fixed anchors.
  seg     YOLOv8 segmentation: input images, outputs output0 ... output8 and proto; takes BGR; square
          sizes only. What is written for a YOLOv8 segmentation export; model yolov8_seg.
  The models feed values from 0 to 1. A division by 255 inside the network is taken out.

taken:
  opset 11 to 17, float16 or float32, static or open shape, one or more outputs, weights in the file or
  beside it. Not taken, with the reason: suppression inside the network, quantised networks, other
  families.

metadata of the result:
  what the export held (names, stride, task, ...), brellix_channels (rgb or bgr) and, for YOLOv5, anchors
  ([[[w, h] x 3] x 3] in network pixels).

exit status:
  0 written   1 the prepared network computes something else than the export   2 wrong use, or a network
  that is not taken   3 the file or standard output could not be written

examples:
  prepare_network.py yolov5n.onnx                        the fused form, yolov5n_fused.onnx
  prepare_network.py yolov5n.onnx --cut -o head.onnx     the cut form
  prepare_network.py yolov8n-seg.onnx --size 320 320     the segmentation form for 320 x 320
"""


def main(arguments: list[str] | None = None) -> int:
    """Runs the command. Returns its exit status."""
    options = _parser().parse_args(arguments)
    try:
        _run(options)
        return DONE
    except MemoryError:
        return _fail("out of memory", FAILED)
    except Difference as difference:
        return _fail(difference, DIFFERENT)
    except Refusal as refusal:
        return _fail(refusal, BAD_INPUT)
    except READING_ERRORS as error:
        return _fail(f"'{options.export}' is damaged or written in a way not known here ({type(error).__name__}: "
                     f"{first_line(error)}); export the network again with opset 12", BAD_INPUT)
    except WorkFailure as failure:
        return _fail(failure, FAILED)
    except OSError as error:
        return _fail(f"'{error.filename}': {error.strerror}" if error.filename else error, FAILED)
    except KeyboardInterrupt:
        return _fail("interrupted, nothing was written", INTERRUPTED)


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(prog=PROGRAM, description=DESCRIPTION, epilog=EPILOG,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("export", type=Path, metavar="EXPORT.onnx", help="the network as it was exported")
    parser.add_argument("-o", "--output", type=Path, metavar="OUT.onnx",
                        help="the file to write (default: beside the export, _fused, _cut or _seg behind its name)")
    parser.add_argument("--size", type=int, nargs=2, metavar=("W", "H"),
                        help="input width and height, multiples of 32 (default: the file's; where it leaves them open, "
                             "the size that it notes, else 640 640)")
    parser.add_argument("--cut", action="store_true", help="the cut form of a YOLOv5 detector")
    parser.add_argument("--bgr", action=argparse.BooleanOptionalAction, default=None,
                        help="swap red and blue at the input, or leave them (default: as the form's model needs it; "
                             "a file that says it takes BGR is not swapped again)")
    parser.add_argument("--force", action="store_true", help="replace OUT.onnx if it is there")
    parser.add_argument("--no-verify", action="store_true", help="do not compare the result with the export")
    parser.add_argument("--quiet", action="store_true", help="print errors only")
    return parser


def _run(options: argparse.Namespace) -> None:
    say = (lambda *words: None) if options.quiet else _say
    original = read_network(options.export)
    wishes = Wishes(tuple(options.size) if options.size else None, options.cut, options.bgr)
    prepared = prepare(original, wishes)
    path = _output_path(options, prepared)
    _describe(options, prepared, say)
    say(_verification_text(options, prepared))
    data = prepared.model.SerializeToString(deterministic=True)
    write_atomically(data, path)
    say(f"wrote {path} ({len(data)} bytes)")
    say(f"next: brellix init {path}")


def _output_path(options: argparse.Namespace, prepared: Prepared) -> Path:
    export: Path = options.export
    path: Path = options.output or export.with_name(f"{export.stem}_{prepared.form.name}.onnx")
    if path.is_dir():
        raise Refusal(f"'{path}' is a folder; give the name of a file with -o")
    if not path.parent.is_dir():
        raise Refusal(f"the folder '{path.parent}' does not exist; make it, or choose another one with -o")
    if not os.access(path.parent, os.W_OK):
        raise WorkFailure(f"nothing can be written into the folder '{path.parent}'; choose another one with -o")
    if path.exists():
        if os.path.samefile(path, export):
            raise Refusal(f"'{path}' is the export itself, which is never replaced; choose another name with -o")
        if not options.force:
            raise Refusal(f"'{path}' is there already; choose another name with -o, or replace it with --force")
    return path


def _describe(options: argparse.Namespace, prepared: Prepared, say) -> None:
    original, heads, form = prepared.original, prepared.heads, prepared.form
    names = class_names(original.metadata)
    said = f", {names} names in the file" if names else ", no names in the file"
    precision = "float16" if original.half else "float32"
    say(f"{options.export}: opset {original.opset}, {precision}, {heads.class_count} classes{said}")
    say(f"form {form.name} (model {form.model}), " + prepared.notes[0])
    for note in prepared.notes[1:]:
        say(note)


def _verification_text(options: argparse.Namespace, prepared: Prepared) -> str:
    if options.no_verify:
        return "not verified: --no-verify"
    report = verify(prepared, options.bgr, _nothing if options.quiet or not sys.stderr.isatty() else _progress)
    if report.not_verified:
        return f"not verified: the file as it came cannot be computed here: {report.not_verified}"
    return _agreement_text(prepared, report)


def _agreement_text(prepared: Prepared, report: Report) -> str:
    width, height = report.size
    size = "" if report.size == prepared.size else f" at {width} x {height}, the only size the file runs at"
    return (f"verified in {' and '.join(report.engines)}{size}: at most {report.largest:.2g} from the export in "
            f"{report.where}, {report.share:.0%} of what rounding explains")


def _nothing(done: int, count: int) -> None:
    pass


def _progress(done: int, count: int) -> None:
    """One line on a terminal, gone in the end: NumPy takes a minute for a large network."""
    text = f"computing the export with NumPy: operator {done} of {count}" if done < count else ""
    print(f"\r\x1b[K{text}", end="", file=sys.stderr, flush=True)


def _say(*words: object) -> None:
    try:
        print(*words, flush=True)
    except OSError as error:
        # What the buffer holds would fail once more, with a traceback, when the interpreter ends.
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        raise WorkFailure(f"cannot write to standard output: {error.strerror}") from error


def _fail(reason: object, status: int) -> int:
    print(f"{PROGRAM}: {reason}", file=sys.stderr)
    return status
