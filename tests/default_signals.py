"""Who started the tests may ignore or block signals, which every child would inherit; the tests are about their own."""

import signal


def restore() -> None:
    for number in (signal.SIGHUP, signal.SIGQUIT, signal.SIGTERM, signal.SIGCHLD):
        signal.signal(number, signal.SIG_DFL)
    signal.signal(signal.SIGINT, signal.default_int_handler)
    signal.pthread_sigmask(signal.SIG_SETMASK, ())
