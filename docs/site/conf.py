"""How Sphinx renders the documents as one site: script/docs calls it. The documents are plain Markdown
that reads well where it lies; what the site needs besides is added here while they are read."""

import re

project = "kelvarune"
root_doc = "README"
include_patterns = ["*.md", "docs/*.md", "docs/guides/*.md", "docs/man/*.md", "examples/*/README.md",
                    "bench/README.md"]
extensions = ["myst_parser"]
myst_enable_extensions = ["deflist"]
myst_heading_anchors = 4
smartquotes = False
highlight_language = "none"
language = "en"

html_theme = "alabaster"
html_theme_options = {"show_powered_by": False, "page_width": "70em",
                      "font_family": "sans-serif", "head_font_family": "sans-serif"}
html_sidebars = {"**": ["about.html", "searchbox.html", "navigation.html"]}
html_static_path = ["site.css"]
html_css_files = ["site.css"]
html_copy_source = False
html_show_copyright = False
html_use_index = False

CONTENTS = """
```{toctree}
:hidden:
:glob:
:caption: Guides
docs/guides/*
examples/*/README
```

```{toctree}
:hidden:
:glob:
:caption: Background
docs/*
CHANGELOG
CONTRIBUTING
bench/README
```

```{toctree}
:hidden:
:glob:
:caption: Manual pages
docs/man/kelvarune.*
docs/man/*
```
"""

# "**kelvarune-pos**(5)" and "kelvarune-pos(5)"
REFERENCE = re.compile(r"(?<![\w\[`*-])(\**)(kelvarune[\w.-]*)\1\(([1-8])\)")


def linked(text, to_pages):
    """Makes links of what is said of manual pages, also of pages that do not exist: these are found
    to be broken."""
    return REFERENCE.sub(rf"[\g<0>]({to_pages}\g<2>.\g<3>.md)", text)


def prepare(text, name):
    """Returns the document as the site needs it: a manual page has no title, but many sections."""
    parts = re.split(r"^(```.*?^```$)", text, flags=re.DOTALL | re.MULTILINE)
    to_pages = "../" * name.count("/") + "docs/man/"
    parts[::2] = [linked(part, to_pages) for part in parts[::2]]
    if not name.startswith("docs/man/"):
        return "".join(parts)
    parts[::2] = [re.sub("^#", "##", part, flags=re.MULTILINE) for part in parts[::2]]
    page, section = name.rsplit("/")[-1].rsplit(".", 1)
    return f"# {page}({section})\n\n" + "".join(parts)


def read(_app, name, source):
    """Called by Sphinx with the text of each document in a list."""
    source[0] = prepare(source[0], name) + (CONTENTS if name == root_doc else "")


def setup(app):
    """Called by Sphinx at the start."""
    app.connect("source-read", read)
