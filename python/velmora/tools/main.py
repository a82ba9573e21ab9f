# SPDX-License-Identifier: Apache-2.0
"""The command `velmora`: finds a subcommand, runs it, and turns errors into messages and exit codes."""

from __future__ import annotations

import sys
from collections.abc import Sequence
from typing import Any

import click

import velmora
from velmora.tools.interrupts import ignore_stops, undisturbed

# Name and one line of help of every command; its module is imported when it is asked for.
COMMANDS = {
    "info": "Say what a recording holds and what is wrong with it.",
    "resample": "Put recordings onto a regular time grid.",
    "check": "Hold recordings against the limits of a robot.",
    "plot": "Draw recordings as png, svg or pdf.",
    "report": "Write a report that opens in a browser, one HTML file.",
    "identify": "Find the vibration modes of a machine in a recording.",
    "shapers": "Compare input shapers for the modes of a machine, and name three.",
    "shape": "Shape a move so that it leaves less vibration.",
    "verify": "Hold the vibration after shaping against what was predicted.",
    "convert": "Write a recording in another format, the same numbers to the last bit.",
    "completion": "Print the completion of commands and options for a shell.",
}

EXIT_DATA = 1
EXIT_USAGE = 2
EXIT_INTERRUPTED = 130


class ReaderLeftError(Exception):
    """Whoever read standard output had enough."""


class Commands(click.Group):
    """The group of all commands, each in a module of its own."""

    def list_commands(self, ctx: click.Context) -> list[str]:
        """The names in the order of a first session."""
        return list(COMMANDS)

    def get_command(self, ctx: click.Context, cmd_name: str) -> click.Command | None:
        """Import the command of that name."""
        if cmd_name not in COMMANDS:
            return None
        import importlib

        from velmora.tools import config

        module = importlib.import_module(f"velmora.tools.commands.{cmd_name}")
        command: click.Command = module.command
        config.name_variables(command, cmd_name)
        return command

    def resolve_command(
        self, ctx: click.Context, args: list[str]
    ) -> tuple[str | None, click.Command | None, list[str]]:
        """Find the command, or say which one is spelt most alike."""
        if args and args[0] not in COMMANDS and not args[0].startswith("-"):
            import difflib

            nearest = difflib.get_close_matches(args[0], COMMANDS, n=1, cutoff=0.5)
            hint = f"; did you mean '{nearest[0]}'?" if nearest else f"; there are {', '.join(COMMANDS)}."
            ctx.fail(f"no command is called '{args[0]}'{hint}")
        return super().resolve_command(ctx, args)

    def invoke(self, ctx: click.Context) -> Any:
        """Run the command; click would take a closed pipe for a failure."""
        try:
            return super().invoke(ctx)
        except BrokenPipeError as error:
            raise ReaderLeftError from error

    def format_commands(self, ctx: click.Context, formatter: click.HelpFormatter) -> None:
        """List the commands without importing them."""
        with formatter.section("Commands"):
            formatter.write_dl(list(COMMANDS.items()))


@click.command(
    cls=Commands,
    context_settings={"help_option_names": ["-h", "--help"], "max_content_width": 100},
    epilog="""\b
Examples:
  velmora info log.csv
  velmora resample log.csv --rate 250 -o log_250hz.parquet
  velmora check log_250hz.parquet --limits joint_limits.yaml
  velmora report log.csv --rate 250 -o report.html
\b
Exit codes: 0 done; 1 the data are wrong, unreadable or violate limits; 2 wrong usage;
130 interrupted, or nobody reads the output to its end.
Options may also be set in the environment (VELMORA_RESAMPLE_RATE=250) or in the velmora.toml of a project.
""",
)
@click.version_option(velmora.__version__, prog_name="velmora", message="%(prog)s %(version)s")
@click.pass_context
def commands(ctx: click.Context) -> None:
    """Recordings of robot joints in; checked and resampled recordings, pictures and reports out."""
    if ctx.invoked_subcommand is not None and not ctx.resilient_parsing:
        from velmora.tools import config

        ctx.default_map = config.defaults(ctx)


def main(args: Sequence[str] | None = None) -> None:
    """Run the command line and leave with its exit code."""
    spare_pandas()
    try:
        code = run(args)
    except KeyboardInterrupt:  # another one, on the way out
        code = EXIT_INTERRUPTED
    finally:
        ignore_stops()  # one more would take the exit code away while the interpreter ends
    sys.exit(code)


class _NoPandas:
    """Finds no pandas."""

    @staticmethod
    def find_spec(name: str, path: object = None, target: object = None) -> None:
        """Leave every other module to the finders that come after."""
        if name == "pandas":
            raise ModuleNotFoundError("velmora does without pandas", name=name)


def spare_pandas() -> None:
    """Keep pyarrow from importing pandas, which it does at its first array where pandas is installed: half a second.

    For processes that are the tool's own.
    """
    sys.meta_path.insert(0, _NoPandas)


def run(args: Sequence[str] | None = None) -> int:
    """Run the command line; the exit code."""
    try:
        _stop_on_termination()
        result: Any = commands.main(args, prog_name="velmora", standalone_mode=False)
        sys.stdout.flush()
        return result if isinstance(result, int) else 0
    except click.ClickException as error:
        from velmora.tools import config

        config.with_origin(error).show()
        return error.exit_code
    except (KeyboardInterrupt, click.Abort):
        with undisturbed():
            _say("velmora: interrupted")
        return EXIT_INTERRUPTED
    except (BrokenPipeError, ReaderLeftError):
        # The interpreter flushes once more on its way out.
        import os

        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return EXIT_INTERRUPTED
    except MemoryError:
        _say("velmora: out of memory: the recording or the new grid is too long for this machine")
        return EXIT_DATA
    except Exception as error:
        from velmora.tools.errors import ToolError

        if not isinstance(error, ToolError):
            raise
        _say(str(error))
        return error.exit_code


def _say(text: str) -> None:
    click.echo(text, err=True)


def _stop_on_termination() -> None:
    """Let the end of a session or a scheduler's time limit clean up as an interrupt does."""
    import signal
    import threading

    def stop(number: int, frame: object) -> None:
        raise SystemExit(128 + number)

    if threading.current_thread() is threading.main_thread():
        for number in (signal.SIGTERM, signal.SIGHUP):
            if signal.getsignal(number) == signal.SIG_DFL:
                signal.signal(number, stop)


if __name__ == "__main__":
    main()
