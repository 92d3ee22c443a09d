"""How Sphinx makes the site of the Markdown pages as they lie in the repository."""

import sys
from pathlib import Path

HERE = Path(__file__).parent
sys.path.append(str(HERE))

project = "Orvane arrays"
author = copyright = "The Orvane array authors"
extensions = ["myst_parser", "sphinx_copybutton", "breathe", "declared", "reshaped"]
root_doc = "docs/README"
include_patterns = ["*.md", "docs/*.md", "docs/reference/*.md", "examples/**/README.md"]
exclude_patterns = [".*", "build", "output"]
templates_path = ["templates"]

nitpicky = True
# The interpreter, the standard libraries and NumPy have no pages here.
nitpick_ignore_regex = [("c(pp)?:.*", ".*"), ("py:.*", "(?!orvane).*")]
myst_heading_anchors = 4
add_module_names = False
python_display_short_literal_types = True
breathe_projects = {"sdk": str(HERE.parents[1] / "build" / "docs" / "doxygen" / "xml")}
breathe_default_project = "sdk"
breathe_domain_by_extension = {"h": "c", "hpp": "cpp"}
breathe_show_include = False
breathe_show_enumvalue_initializer = True
copybutton_exclude = ".linenos, .gp, .go"  # prompts and what Python answers

html_theme = "furo"
html_title = project
html_copy_source = False
html_use_index = False
html_theme_options = {"top_of_page_buttons": []}
pygments_dark_style = "github-dark"
html_static_path = ["static"]
html_css_files = ["site.css"]
html_search_scorer = str(HERE / "scorer.js")
html_additional_pages = {"index": "to_first_page.html"}
