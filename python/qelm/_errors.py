"""What is raised when something is refused."""

from __future__ import annotations


class Error(Exception):
    """Something was refused. Its text is a whole sentence: what was tried, why it was refused, what is allowed.

    Attributes:
        code: the applet's error code, or None where no applet refused it
        name: the code's name, as in "FG_ERROR_OUT_OF_RANGE"; empty when it has none
        parameter: the parameter that it is about; empty when it is about none
        allowed: the values that the parameter takes now, in words; empty when that is not known
    """

    def __init__(
        self, sentence: str, code: int | None = None, name: str = "", parameter: str = "", allowed: str = ""
    ) -> None:
        super().__init__(sentence)
        self.code = code
        self.name = name
        self.parameter = parameter
        self.allowed = allowed

    def __str__(self) -> str:
        return str(self.args[0])


class Timeout(Error, TimeoutError):
    """What was waited for did not come in time."""


class UnknownName(Error, KeyError, AttributeError):
    """There is no parameter of that name; the sentence suggests the nearest one."""


class SettingsWarning(UserWarning):
    """Settings, camera and files disagree: what comes next will not be what was meant."""
