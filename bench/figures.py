"""Lines of a benchmark: what was measured, beside what, and what was wanted."""

import statistics


def median(values):
    return statistics.median(values)


class Report:
    """Prints each line as soon as it is known; a missed wish is marked and counted."""

    def __init__(self):
        self.missed = 0

    def section(self, title):
        print(f"\n{title}", flush=True)
        print(f"  {'':52}{'client':>12}{'baseline':>12}{'ratio':>8}  wanted", flush=True)

    def line(self, what, figure, unit, baseline=None, at_most=None, ratio_at_most=None, ratio_at_least=None,
             note=""):
        """One figure. at_most bounds the figure itself, the others its ratio to the baseline."""
        ratio = figure / baseline if baseline else None
        wishes, kept = [], True
        if at_most is not None:
            wishes.append(f"at most {at_most:g} {unit}")
            kept = kept and figure <= at_most
        if ratio_at_most is not None and ratio is not None:
            wishes.append(f"ratio at most {ratio_at_most:g}")
            kept = kept and ratio <= ratio_at_most
        if ratio_at_least is not None and ratio is not None:
            wishes.append(f"ratio at least {ratio_at_least:g}")
            kept = kept and ratio >= ratio_at_least
        self.missed += not kept
        base = f"{baseline:.3g} {unit}" if baseline is not None else ""
        mark = "" if kept else "  <-- MISSED"
        wanted = ", ".join(wishes)
        print(f"  {what:52}{f'{figure:.3g} {unit}':>12}{base:>12}{f'{ratio:.2f}' if ratio else '':>8}  {wanted}{mark}"
              f"{'  ' + note if note else ''}", flush=True)

    def remark(self, text):
        print(f"  {text}", flush=True)
