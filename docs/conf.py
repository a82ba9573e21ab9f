# SPDX-License-Identifier: Apache-2.0
# Settings of the documentation site; built by scripts/docs from the top of the source tree.
import ast
import subprocess
import sys
from pathlib import Path

import velmora
from cycler import cycler
from docutils import nodes

ROOT = Path(__file__).resolve().parents[1]

project = "velmora"
author = "the velmora maintainers"
version = release = velmora.__version__

extensions = [
    "breathe",
    "matplotlib.sphinxext.plot_directive",
    "myst_nb",
    "numpydoc",
    "sphinx.ext.autodoc",
    "sphinx.ext.mathjax",
    "sphinx_click",
    "sphinx_copybutton",
    "sphinx_design",
]
# What depends on what, drawn from the includes of the tree as it is.
architecture = ROOT / "build" / "docs" / "architecture.svg"
architecture.parent.mkdir(parents=True, exist_ok=True)
graph = subprocess.run(
    [sys.executable, ROOT / "docs" / "figures" / "architecture.py", ROOT], capture_output=True, check=True
).stdout
subprocess.run(["dot", "-Tsvg", "-o", architecture], input=graph, check=True)

exclude_patterns = ["snippets", "node_modules"]
nitpicky = True
smartquotes = False  # messages and options are quoted to the letter
suppress_warnings = ["myst.header"]  # the reports at the top skip a level of heading

# Pages are Markdown; code cells run while the site is built, and an error in one ends the build.
myst_enable_extensions = ["amsmath", "attrs_inline", "colon_fence", "deflist", "dollarmath"]
myst_heading_anchors = 3
nb_execution_mode = "cache"
nb_execution_cache_path = str(ROOT / "build/docs/executed")
nb_execution_timeout = 600  # a page builds the libraries, which takes minutes on a busy machine
nb_execution_raise_on_error = True
nb_merge_streams = True

# The C++ reference comes from the headers by way of Doxygen's XML.
breathe_projects = {"velmora": str(ROOT / "build/docs/xml")}
breathe_default_project = "velmora"
breathe_default_members = ("members", "undoc-members")
primary_domain = "py"
default_role = "py:obj"
highlight_language = "none"
cpp_id_attributes = ["VELMORA_EXPORT"]

numpydoc_show_class_members = False
numpydoc_xref_param_type = False
autodoc_typehints = "none"

plot_basedir = str(ROOT / "docs")
plot_formats = [("svg", 100)]
plot_html_show_source_link = False
plot_html_show_formats = False
INK, MUTED = "#1f2d3d", "#8a97a6"
plot_rcparams = {
    "figure.figsize": (7.5, 3.6),
    "figure.constrained_layout.use": True,
    "figure.facecolor": "white",
    "axes.prop_cycle": cycler(color=["#1f6fb2", "#c8641e", "#3a8f5c", "#7a5bb5"]),
    "axes.spines.top": False,
    "axes.spines.right": False,
    "axes.edgecolor": MUTED,
    "axes.labelcolor": INK,
    "text.color": INK,
    "xtick.color": INK,
    "ytick.color": INK,
    "font.size": 9,
    "legend.frameon": False,
    "svg.hashsalt": "velmora",
}
plot_apply_rcparams = True

# Everything a page loads stands in the site itself: fonts are the reader's own, formulas are set by a copy of MathJax.
html_theme = "furo"
html_title = f"velmora {release}"
html_static_path = ["_static"]
html_css_files = ["site.css"]
html_js_files = [("site.js", {"defer": "defer"})]
html_favicon = "_static/icon.svg"
mathjax_path = "mathjax/tex-svg.js"
html_show_sphinx = False
# What is copied from a session is what was typed.
copybutton_prompt_text = r">>> |\.\.\. |\$ |> "
copybutton_prompt_is_regexp = True
html_show_copyright = False
html_copy_source = False
html_show_sourcelink = False

# Links in pages are checked; the types inside C++ signatures are mostly not ours to link.
nitpick_ignore_regex = [
    (r"cpp:identifier", r".*"),
    (r"py:obj", r".*"),  # words in docstrings: links where they name something, parameters otherwise
    (r"py:.*", r"(numpy|np|scipy|pandas|collections|enum|os|pathlib|typing)\..*"),
]


def escape_patterns(app, context, lines):
    """Keep the patterns in a command's examples from being read as emphasis."""
    lines[:] = [line.replace("*", r"\*") for line in lines]


def without_types(app, what, name, item, options, signature, returned):
    """Leave the types to the list of parameters, which says them in words."""
    if signature is None:
        return None
    arguments = ast.parse(f"def function{signature}: ...").body[0].args
    for argument in (*arguments.posonlyargs, *arguments.args, *arguments.kwonlyargs):
        argument.annotation = None
    return f"({ast.unparse(arguments)})", None


def dashes(app, doctree):
    """Set the dashes between a parameter and its text, which without smartquotes are two hyphens."""
    for text in list(doctree.findall(nodes.Text)):
        if text == " -- ":
            text.parent.replace(text, nodes.Text(" – "))


def setup(app):
    app.connect("doctree-read", dashes)
    app.connect("autodoc-process-signature", without_types)
    app.connect("sphinx-click-process-epilog", escape_patterns)
