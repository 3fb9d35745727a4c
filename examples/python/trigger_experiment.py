#!/usr/bin/env python3
"""A burst of pulses from outside, faster than the camera may be triggered: what the trigger queue makes of it."""

import qelm

PULSES = 6


def exposures(signals):
    """When exposures began, in milliseconds of the board's time."""
    signal = qelm.SIGNALS.index("exposure")
    return [change.timestamp / 1e6 for change in signals if change.signal == signal and change.value == 1]


def main():
    with qelm.Board(camera="exposure=1000") as board:
        board.update(
            FG_AREATRIGGERMODE="ATM_EXTERNAL",
            FG_TRIGGERQUEUE_MODE="FG_ON",
            FG_TRIGGER_FRAMESPERSECOND=40.0,
            FG_TRIGGERSTATE="TS_ACTIVE",
        )
        with board.signals() as signals, board.events() as events:
            board.pulse(pin=0, count=PULSES, width=2e-3, period=10e-3)
            print("waiting in the queue:", board["FG_TRIGGERQUEUE_FILLLEVEL"])
            board.advance(0.2)
            began = exposures(signals)
            print("exposures at", ", ".join(f"{time - began[0]:.1f}" for time in began), "ms")
            print("events:", len(list(events)))


if __name__ == "__main__":
    main()
