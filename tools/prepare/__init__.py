"""Turns ordinary exports of YOLOv5 and YOLOv8 segmentation into networks that the models take.

The way of a file: `network_file` reads it, `static_shape` gives it one shape and computes what then is constant,
`recognition` finds the head convolutions, `forms` builds the asked form from them in operator set 12, `channels` turns
RGB into BGR, `verification` compares the result with the file as it came, `network_file` writes it.
"""
