// Changes networks as messages: flipped bytes mostly give files that no parser takes, and what lies behind
// the parser would hardly be reached.

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <onnx/onnx_pb.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* bytes, std::size_t size, std::size_t most);

namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;
using Generator = std::minstd_rand;

// So many of the mutations leave the messages alone and change bytes.
constexpr unsigned int kOneInBytes = 8;
constexpr unsigned int kMostChanges = 3;

constexpr std::array<std::int64_t, 14> kIntegers = {0,
                                                    1,
                                                    -1,
                                                    2,
                                                    3,
                                                    4,
                                                    7,
                                                    12,
                                                    32767,
                                                    65536,
                                                    1 << 30,
                                                    std::numeric_limits<std::int32_t>::max(),
                                                    std::numeric_limits<std::int64_t>::max(),
                                                    std::numeric_limits<std::int64_t>::min()};
constexpr std::array<float, 8> kFloats = {0.0F,
                                          1.0F,
                                          -1.0F,
                                          0.5F,
                                          1e30F,
                                          std::numeric_limits<float>::quiet_NaN(),
                                          std::numeric_limits<float>::infinity(),
                                          std::numeric_limits<float>::denorm_min()};
constexpr std::array<const char*, 50> kOperators = {"Add",
                                                    "Sub",
                                                    "Mul",
                                                    "Div",
                                                    "Conv",
                                                    "ConvTranspose",
                                                    "MaxPool",
                                                    "AveragePool",
                                                    "Resize",
                                                    "Upsample",
                                                    "Concat",
                                                    "Split",
                                                    "Slice",
                                                    "Reshape",
                                                    "Transpose",
                                                    "Softmax",
                                                    "Sigmoid",
                                                    "Relu",
                                                    "LeakyRelu",
                                                    "Clip",
                                                    "Gather",
                                                    "Squeeze",
                                                    "Unsqueeze",
                                                    "Flatten",
                                                    "MatMul",
                                                    "Gemm",
                                                    "Pad",
                                                    "Cast",
                                                    "Constant",
                                                    "Shape",
                                                    "Expand",
                                                    "ReduceMean",
                                                    "ReduceMax",
                                                    "ReduceSum",
                                                    "Identity",
                                                    "Dropout",
                                                    "Pow",
                                                    "Exp",
                                                    "Tanh",
                                                    "BatchNormalization",
                                                    "QuantizeLinear",
                                                    "DequantizeLinear",
                                                    "Tile",
                                                    "ConstantOfShape",
                                                    "LSTM",
                                                    "NonMaxSuppression",
                                                    "LogSoftmax",
                                                    "Sum",
                                                    "PRelu",
                                                    "CumSum"};

/// One field that can be changed.
struct Place {
    Message* message;
    const FieldDescriptor* field;
};

class Mutation {
  public:
    explicit Mutation(unsigned int seed) : random_(seed) {}

    void change(onnx::ModelProto& model) {
        for (unsigned int i = 0; i <= below(kMostChanges); ++i) {
            places_.clear();
            names_.clear();
            collect(model);
            if (!places_.empty()) {
                changePlace(places_[below(places_.size())]);
            }
        }
    }

  private:
    std::size_t below(std::size_t count) { return random_() % count; }

    template <typename Table>
    typename Table::value_type anyOf(const Table& table) {
        return table[below(table.size())];
    }

    void collect(Message& message) {
        const google::protobuf::Descriptor& type = *message.GetDescriptor();
        const Reflection& fields = *message.GetReflection();
        for (int i = 0; i < type.field_count(); ++i) {
            const FieldDescriptor& field = *type.field(i);
            const bool isUsed = field.is_repeated() ? fields.FieldSize(message, &field) > 0
                                                    : fields.HasField(message, &field);
            // Fields that nobody uses are filled now and then only.
            if (isUsed || below(16) == 0) {
                places_.push_back({&message, &field});
            }
            if (isUsed) {
                collectInside(message, field);
            }
        }
    }

    void collectInside(Message& message, const FieldDescriptor& field) {
        const Reflection& fields = *message.GetReflection();
        const bool isText = field.cpp_type() == FieldDescriptor::CPPTYPE_STRING;
        const bool isMessage = field.cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE;
        if (!field.is_repeated()) {
            if (isMessage) {
                collect(*fields.MutableMessage(&message, &field));
            } else if (isText) {
                names_.push_back(fields.GetString(message, &field));
            }
            return;
        }
        for (int i = 0; i < fields.FieldSize(message, &field); ++i) {
            if (isMessage) {
                collect(*fields.MutableRepeatedMessage(&message, &field, i));
            } else if (isText) {
                names_.push_back(fields.GetRepeatedString(message, &field, i));
            }
        }
    }

    void changePlace(const Place& place) {
        const Reflection& fields = *place.message->GetReflection();
        if (place.field->is_repeated()) {
            changeList(place);
        } else if (place.field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
            if (below(4) == 0) {
                fields.ClearField(place.message, place.field);
            } else {
                fields.MutableMessage(place.message, place.field);
            }
        } else if (below(8) == 0) {
            fields.ClearField(place.message, place.field);
        } else {
            setValue(place);
        }
    }

    void setValue(const Place& place) {
        const Reflection& fields = *place.message->GetReflection();
        Message* const message = place.message;
        const FieldDescriptor* const field = place.field;
        switch (field->cpp_type()) {
            case FieldDescriptor::CPPTYPE_INT32:
                return fields.SetInt32(message, field, static_cast<std::int32_t>(integer()));
            case FieldDescriptor::CPPTYPE_INT64:
                return fields.SetInt64(message, field, integer());
            case FieldDescriptor::CPPTYPE_UINT64:
                return fields.SetUInt64(message, field, static_cast<std::uint64_t>(integer()));
            case FieldDescriptor::CPPTYPE_FLOAT:
                return fields.SetFloat(message, field, anyOf(kFloats));
            case FieldDescriptor::CPPTYPE_DOUBLE:
                return fields.SetDouble(message, field, static_cast<double>(anyOf(kFloats)));
            case FieldDescriptor::CPPTYPE_ENUM:
                return fields.SetEnumValue(message, field, static_cast<int>(below(14)));
            case FieldDescriptor::CPPTYPE_STRING:
                return fields.SetString(message, field, text(*field, fields.GetString(*message, field)));
            default:
                return;
        }
    }

    void changeList(const Place& place) {
        const Reflection& fields = *place.message->GetReflection();
        const int count = fields.FieldSize(*place.message, place.field);
        const std::size_t kind = below(4);
        if (count > 0 && kind == 0) {
            fields.SwapElements(place.message, place.field,
                                static_cast<int>(below(static_cast<std::size_t>(count))), count - 1);
            fields.RemoveLast(place.message, place.field);
        } else if (count > 1 && kind == 1) {
            fields.SwapElements(place.message, place.field,
                                static_cast<int>(below(static_cast<std::size_t>(count))),
                                static_cast<int>(below(static_cast<std::size_t>(count))));
        } else if (count > 0 && kind == 2) {
            setElement(place, static_cast<int>(below(static_cast<std::size_t>(count))));
        } else {
            addElement(place, count);
        }
    }

    void setElement(const Place& place, int index) {
        const Reflection& fields = *place.message->GetReflection();
        Message* const message = place.message;
        const FieldDescriptor* const field = place.field;
        switch (field->cpp_type()) {
            case FieldDescriptor::CPPTYPE_INT32:
                return fields.SetRepeatedInt32(message, field, index, static_cast<std::int32_t>(integer()));
            case FieldDescriptor::CPPTYPE_INT64:
                return fields.SetRepeatedInt64(message, field, index, integer());
            case FieldDescriptor::CPPTYPE_UINT64:
                return fields.SetRepeatedUInt64(message, field, index, static_cast<std::uint64_t>(integer()));
            case FieldDescriptor::CPPTYPE_FLOAT:
                return fields.SetRepeatedFloat(message, field, index, anyOf(kFloats));
            case FieldDescriptor::CPPTYPE_DOUBLE:
                return fields.SetRepeatedDouble(message, field, index, static_cast<double>(anyOf(kFloats)));
            case FieldDescriptor::CPPTYPE_STRING:
                return fields.SetRepeatedString(
                    message, field, index, text(*field, fields.GetRepeatedString(*message, field, index)));
            default:
                return;
        }
    }

    /// A copy of a message that is there, or one more value.
    void addElement(const Place& place, int count) {
        const Reflection& fields = *place.message->GetReflection();
        Message* const message = place.message;
        const FieldDescriptor* const field = place.field;
        switch (field->cpp_type()) {
            case FieldDescriptor::CPPTYPE_INT32:
                return fields.AddInt32(message, field, static_cast<std::int32_t>(integer()));
            case FieldDescriptor::CPPTYPE_INT64:
                return fields.AddInt64(message, field, integer());
            case FieldDescriptor::CPPTYPE_UINT64:
                return fields.AddUInt64(message, field, static_cast<std::uint64_t>(integer()));
            case FieldDescriptor::CPPTYPE_FLOAT:
                return fields.AddFloat(message, field, anyOf(kFloats));
            case FieldDescriptor::CPPTYPE_DOUBLE:
                return fields.AddDouble(message, field, static_cast<double>(anyOf(kFloats)));
            case FieldDescriptor::CPPTYPE_STRING:
                return fields.AddString(message, field, text(*field, {}));
            case FieldDescriptor::CPPTYPE_MESSAGE: {
                Message* const added = fields.AddMessage(message, field);
                if (count > 0) {
                    added->CopyFrom(fields.GetRepeatedMessage(
                        *message, field, static_cast<int>(below(static_cast<std::size_t>(count)))));
                }
                return;
            }
            default:
                return;
        }
    }

    std::int64_t integer() { return below(2) == 0 ? anyOf(kIntegers) : static_cast<std::int64_t>(below(24)); }

    /// An operator for an operator, mostly; else a name of the graph, or changed bytes.
    std::string text(const FieldDescriptor& field, std::string before) {
        if (field.name() == "op_type") {
            return anyOf(kOperators);
        }
        const bool isName = field.name() != "raw_data" && field.name() != "doc_string" && field.name() != "s";
        if (isName && !names_.empty() && below(4) != 0) {
            return anyOf(names_);
        }
        const std::size_t size = before.size();
        before.resize(size + 16);
        before.resize(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(before.data()), size, before.size()));
        return before;
    }

    Generator random_;
    std::vector<Place> places_;
    std::vector<std::string> names_;
};

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* bytes, std::size_t size, std::size_t most,
                                               unsigned int seed) {
    onnx::ModelProto model;
    if (seed % kOneInBytes == 0 || !model.ParseFromArray(bytes, static_cast<int>(size))) {
        return LLVMFuzzerMutate(bytes, size, most);
    }
    Mutation(seed).change(model);
    const std::string changed = model.SerializeAsString();
    if (changed.empty() || changed.size() > most) {
        return LLVMFuzzerMutate(bytes, size, most);
    }
    std::memcpy(bytes, changed.data(), changed.size());
    return changed.size();
}
