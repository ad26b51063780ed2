"""What can go wrong in a way that a user can do something about."""

from .readable import cut


class HelperError(Exception):
    """A failure whose text names the thing, the reason and the remedy, in one or two lines.

    `text` names the first two, `remedy` what to do about it; where that stands in the text itself, it is empty.
    `details` (a server's answer, say) goes to the log file beside the response, never to the user's status bar.
    """

    def __init__(self, text: str, details: str = "", remedy: str = "") -> None:
        self.text, self.details, self.remedy = cut(text), details, cut(remedy)  # names in them may be of any length
        super().__init__(f"{self.text}; {self.remedy}" if remedy else self.text)


class PassingFailure(HelperError):
    """One that may be gone when the same render is begun again, without anybody having done anything about it."""


def reason_of(error: BaseException) -> str:
    """The reason of a system error in words, without the number and the path that its full text repeats."""
    return getattr(error, "strerror", None) or str(error) or type(error).__name__
