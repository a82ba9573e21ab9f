# SPDX-License-Identifier: Apache-2.0
"""velmora completion: the completion of commands and options for a shell."""

from __future__ import annotations

import click
from click.shell_completion import get_completion_class


@click.command(
    epilog="""\b
Examples:
  velmora completion bash >> ~/.bashrc
  velmora completion zsh >> ~/.zshrc
  velmora completion fish > ~/.config/fish/completions/velmora.fish
"""
)
@click.argument("shell", type=click.Choice(["bash", "zsh", "fish"]))
@click.pass_context
def command(ctx: click.Context, shell: str) -> int:
    """Print the completion of commands and options for a shell."""
    completion = get_completion_class(shell)
    assert completion is not None
    root = ctx.find_root().command
    click.echo(completion(root, {}, "velmora", "_VELMORA_COMPLETE").source())
    return 0
