#include "platform/MPI/BListJson.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace MPI {

namespace {

void AppendValue(BListC& list, const Json& value, size_t position) {
    const std::string where = "argument " + std::to_string(position);
    switch (value.type()) {
        case Json::value_t::number_integer: {
            const int64_t number = value.get<int64_t>();
            if (number < std::numeric_limits<int32_t>::min() ||
                number > std::numeric_limits<int32_t>::max()) {
                throw BListC::TypeError(where + ": " + value.dump() +
                                        " is beyond the 32-bit integer range");
            }
            list.Append(static_cast<int32_t>(number));
            return;
        }
        case Json::value_t::number_unsigned: {
            const uint64_t number = value.get<uint64_t>();
            if (number > static_cast<uint64_t>(std::numeric_limits<int32_t>::max())) {
                throw BListC::TypeError(where + ": " + value.dump() +
                                        " is beyond the 32-bit integer range");
            }
            list.Append(static_cast<int32_t>(number));
            return;
        }
        case Json::value_t::number_float:
            list.Append(value.get<double>());
            return;
        case Json::value_t::boolean:
            list.Append(static_cast<int32_t>(value.get<bool>() ? 1 : 0));
            return;
        case Json::value_t::string:
            list.Append(value.get_ref<const std::string&>());
            return;
        case Json::value_t::null:
            list.Append(BListC::Null());
            return;
        case Json::value_t::array:
            list.Append(FromJson(value));
            return;
        default:
            throw BListC::TypeError(
                where + ": a JSON " + value.type_name() +
                " cannot be passed (integers, doubles, strings and arrays can)");
    }
}

}  // namespace

Json ToJson(const BListC& list) {
    if (list.IsNull()) return Json();
    Json array = Json::array();
    for (size_t i = 0; i < list.Size(); ++i) {
        switch (list.GetType(i)) {
            case BListC::kInteger:
                array.push_back(list.GetInteger(i));
                break;
            case BListC::kDouble: {
                const double value = list.GetDouble(i);
                array.push_back(std::isfinite(value) ? Json(value) : Json());
                break;
            }
            case BListC::kString:
                array.push_back(list.GetString(i));
                break;
            case BListC::kList:
                array.push_back(ToJson(list.GetList(i)));
                break;
        }
    }
    return array;
}

BListC FromJson(const Json& array) {
    if (!array.is_array()) {
        throw BListC::TypeError(std::string("a list must be a JSON array, not a ") +
                                array.type_name());
    }
    BListC list;
    size_t position = 1;
    for (const Json& value : array) AppendValue(list, value, position++);
    return list;
}

std::string ToJsonText(const BListC& list) {
    return ToJson(list).dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace MPI
