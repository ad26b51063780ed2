"""Makes one picture from a render request: quillmere_render_helper.py REQUEST RESPONSE.

This file and the modules that it imports first also run on interpreters that are too old for the rest, so that such an
interpreter can hand over to a newer one.
"""

import gc
import _signal  # what `signal` is made of: in the interpreter itself, where nothing can take its place
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.realpath(__file__)))  # PYTHONSAFEPATH, where it is set, keeps this off

from quillmere_helper import interpreter  # noqa: E402


def main() -> int:
    gc.disable()  # what is loaded stays, and looking for garbage in it is a tenth of the start
    if _signal.getsignal(_signal.SIGINT) is _signal.default_int_handler:
        _signal.signal(_signal.SIGINT, _signal.SIG_DFL)  # until a render listens: a break is no traceback
    interpreter.settle(sys.argv)
    interpreter.leave_if_too_old(sys.argv)
    if len(sys.argv) == 3 and not any(given.startswith("-") for given in sys.argv):  # as the effect starts it
        from quillmere_helper import render

        status = render.run(sys.argv, sys.argv[1], sys.argv[2])
        os._exit(status)  # all is on the disk, and giving memory back piece by piece takes 6 ms
    from quillmere_helper.command_line import run

    return run(sys.argv)


if __name__ == "__main__":
    sys.exit(main())
