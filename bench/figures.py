"""Figures as the scripts of this folder print them, a line each. bench/run gathers them, too."""

import json
import os
import statistics

GATHERED = "QUARROW_FIGURES"  # the environment variable that names bench/run's file


def median_line(values):
    return f"{statistics.median(values):9.2f} (least {min(values):.2f}, most {max(values):.2f})"


def show(topic, name, values, unit, *, at_most=None, at_least=None):
    """Prints the median of values, which were measured in turns with those of the same topic.

    A goal is what the median should be on a machine of two processors that does nothing else.
    """
    median = statistics.median(values)
    print(f"{name:36}{median_line(values)} {unit}{goal_text(median, at_most, at_least)}", flush=True)
    if GATHERED in os.environ:
        with open(os.environ[GATHERED], "a", encoding="utf-8") as gathered:
            gathered.write(json.dumps({
                "topic": topic, "name": name, "median": median, "least": min(values),
                "most": max(values), "unit": unit, "at_most": at_most, "at_least": at_least,
            }) + "\n")


def show_ratio(topic, name, ours, theirs, **goal):
    """The same for ratios of values that were measured in the same round."""
    show(topic, name, [own / other for own, other in zip(ours, theirs)], "as a ratio", **goal)


def goal_text(median, at_most=None, at_least=None):
    """What stands behind a figure with a goal."""
    if at_most is not None:
        return f"   goal: at most {at_most:g}, {'met' if median <= at_most else 'MISSED'}"
    if at_least is not None:
        return f"   goal: at least {at_least:g}, {'met' if median >= at_least else 'MISSED'}"
    return ""
