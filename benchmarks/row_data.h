// Data that the benchmarks of a row share: made by the first that asks, dropped when the row has been measured, so that rows do not add up in memory.

#pragma once

#include <map>
#include <memory>
#include <string>
#include <typeindex>

namespace tav3d::benchmarks
{

class RowData
{
public:
    /// The data of this type and key; make() is called when there is none yet. The reference holds until the row is done.
    template <class Data, class Make>
    static const Data& get(const std::string& key, Make make)
    {
        std::shared_ptr<void>& held = all()[{std::type_index(typeid(Data)), key}];
        if (!held)
            held = std::make_shared<Data>(make());
        return *static_cast<const Data*>(held.get());
    }

    static void drop() { all().clear(); }

private:
    using Key = std::pair<std::type_index, std::string>;

    static std::map<Key, std::shared_ptr<void>>& all()
    {
        static std::map<Key, std::shared_ptr<void>> data;
        return data;
    }
};

} // namespace tav3d::benchmarks
