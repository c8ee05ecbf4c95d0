"""The one way in which preparing says no."""


class Refusal(Exception):
    """What was looked for, what was found and what to do, in one line for people."""


class Incomputable(Refusal):
    """Tensors do not fit together: the network is damaged, or made for another size."""


class Difference(Refusal):
    """The prepared network computes something else than the file it was made of."""


class WorkFailure(Exception):
    """Something outside of the network went wrong: no space, no permission."""
