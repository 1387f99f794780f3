# SPDX-License-Identifier: GPL-3.0-or-later
"""What a user sees of a reading that cannot be trusted."""

import pytest
from desk import MESSAGE
from processes import at_rest, eventually


@pytest.mark.parametrize("method", [0, 6])
def test_no_reading_stands_behind_a_refused_equation(desk, method):
    """Nor is one made while the box is open, whatever the meter would show."""
    desk.configure("Tank1", Math="CH99", AverageMode=method)
    meter = desk.meter("Tank")
    desk.says(meter, "not found in Telvix", MESSAGE)
    at_rest(lambda: desk.reading(meter), 0.6)  # three ticks
    assert desk.find(meter, "button", "OK", MESSAGE).do_action(0)
    desk.shows(meter, "009000")
    why = "Channel(s) not found in Telvix (#99)"
    eventually(lambda: why in meter.said())
    assert why in desk.find(meter, "reading", "009000").get_description()
