"""What can go wrong in a way that a user can do something about."""

from .readable import cut


class HelperError(Exception):
    """A failure whose text names the thing, the reason and the remedy, in one or two lines.

    `details` (a server's answer, say) goes to the log file beside the response, never to the user's status bar.
    """

    def __init__(self, text: str, details: str = "") -> None:
        super().__init__(cut(text))  # names in it may be of any length
        self.details = details


def reason_of(error: BaseException) -> str:
    """The reason of a system error in words, without the number and the path that its full text repeats."""
    return getattr(error, "strerror", None) or str(error) or type(error).__name__
