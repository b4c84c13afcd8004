"""One self-contained HTML page from records of runs."""
