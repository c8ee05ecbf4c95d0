"""Element types, from ONNX's numbers to NumPy's types and back.

The onnx package has had several tables of them, each of which other versions lack or warn of.
"""

from __future__ import annotations

import numpy as np
import onnx
from onnx import numpy_helper


def element_type_of(array: np.ndarray) -> int:
    return numpy_helper.from_array(np.empty(0, array.dtype)).data_type


def numpy_type_of(element_type: int) -> np.dtype:
    return numpy_helper.to_array(onnx.TensorProto(data_type=element_type, dims=[0])).dtype
