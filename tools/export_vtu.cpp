// The file is a short XML text and, behind it in one block, the arrays: each as its length in bytes and its bytes.

#include "export_formats.h"

#include "target_file.h"

#include <bit>
#include <functional>
#include <limits>
#include <ostream>
#include <span>

namespace tav3d::tools
{

using opensuite::CellKind;

namespace
{

/// Text as the value of an XML attribute. What XML cannot hold, control characters and bytes that are no UTF-8, becomes '_'.
std::string attribute(const std::string& text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size();)
    {
        const auto lead = static_cast<unsigned char>(text[i]);
        const std::size_t length = lead < 0x80                   ? 1
                                   : lead >= 0xC2 && lead < 0xE0 ? 2
                                   : lead >= 0xE0 && lead < 0xF0 ? 3
                                   : lead >= 0xF0 && lead < 0xF5 ? 4
                                                                 : 0;
        bool isGood = length > 0 && lead >= 0x20 && i + length <= text.size();
        for (std::size_t k = 1; isGood && k < length; ++k)
            isGood = (static_cast<unsigned char>(text[i + k]) & 0xC0) == 0x80;
        if (!isGood)
            out += '_';
        else if (lead == '&')
            out += "&amp;";
        else if (lead == '<')
            out += "&lt;";
        else if (lead == '"')
            out += "&quot;";
        else
            out += text.substr(i, length);
        i += isGood ? length : 1;
    }
    return out;
}

/// The appended arrays: what the XML says about each, and how its bytes are made.
class Arrays
{
public:
    /// `write` puts `bytes` bytes into the stream.
    std::string add(const std::string& type, const std::string& name, int components, std::uint64_t bytes,
                    std::function<void(std::ostream&)> write, const std::string& unit = {})
    {
        std::string xml = "        <DataArray type=\"" + type + "\" Name=\"" + attribute(name) + "\"";
        if (components != 1)
            xml += " NumberOfComponents=\"" + std::to_string(components) + "\"";
        xml += " format=\"appended\" offset=\"" + std::to_string(offset_) + "\"";
        offset_ += sizeof(std::uint64_t) + bytes;
        arrays_.push_back({bytes, std::move(write)});
        if (unit.empty())
            return xml + "/>\n";
        return xml + ">\n          <InformationKey name=\"UNITS_LABEL\" location=\"vtkDataArray\">" + attribute(unit) +
               "</InformationKey>\n        </DataArray>\n";
    }

    void write(std::ostream& out) const
    {
        for (const Array& array : arrays_)
        {
            out.write(reinterpret_cast<const char*>(&array.bytes), sizeof array.bytes);
            array.write(out);
        }
    }

private:
    struct Array
    {
        std::uint64_t bytes;
        std::function<void(std::ostream&)> write;
    };
    std::vector<Array> arrays_;
    std::uint64_t offset_ = 0;
};

/// Writes value(0), value(1), ... value(count - 1), a piece at a time.
template <class T, class Value>
void writeComputed(std::ostream& out, std::size_t count, Value value)
{
    constexpr std::size_t most = std::size_t{1} << 14;
    std::vector<T> piece(std::min(most, count));
    for (std::size_t first = 0; first < count; first += piece.size())
    {
        piece.resize(std::min(most, count - first));
        for (std::size_t i = 0; i < piece.size(); ++i)
            piece[i] = value(first + i);
        out.write(reinterpret_cast<const char*>(piece.data()), static_cast<std::streamsize>(piece.size() * sizeof(T)));
    }
}

void writeConnectivity(std::ostream& out, const opensuite::CellList& cells)
{
    std::array<std::int64_t, 8> row{};
    for (std::size_t c = 0; c < cells.size(); ++c)
    {
        const std::int32_t* node = cells.node.data() + cells.start[c];
        std::size_t n = 0;
        for (const std::int8_t at : vtkOrder(cells.kind[c]))
            row[n++] = node[at] - 1;
        out.write(reinterpret_cast<const char*>(row.data()), static_cast<std::streamsize>(n * sizeof row[0]));
    }
}

std::uint8_t vtkType(CellKind kind)
{
    constexpr std::uint8_t types[] = {10, 14, 13, 12};
    return types[static_cast<std::size_t>(kind)];
}

std::string pointData(const FieldGrid& grid, Arrays& arrays)
{
    const std::size_t nodes = grid.nodeTotal();
    std::string xml;
    for (const GridField& field : grid.fields)
        xml += arrays.add(
            "Float32", field.name, 1, nodes * sizeof(float),
            [&field](std::ostream& out)
            {
                writeComputed<float>(out, field.value.size(),
                                     [&](std::size_t n)
                                     { return field.hasValue(n) ? field.value[n] : std::numeric_limits<float>::quiet_NaN(); });
            },
            field.unit);
    if (!grid.nodeNumber.empty())
        xml += arrays.add("Int32", "NodeNumber", 1, nodes * sizeof(std::int32_t),
                          [&grid](std::ostream& out)
                          { writeComputed<std::int32_t>(out, grid.nodeTotal(), [&](std::size_t n) { return grid.nodeNumber[n]; }); });
    return xml;
}

} // namespace

std::span<const std::int8_t> vtkOrder(CellKind kind)
{
    static constexpr std::int8_t order[] = {0, 1, 2, 3, 4, 5, 6, 7};
    static constexpr std::int8_t wedge[] = {0, 2, 1, 3, 5, 4};
    if (kind == CellKind::Prism6)
        return wedge;
    return {order, static_cast<std::size_t>(nodeCount(kind))};
}

void writeVtu(const FieldGrid& grid, const std::string& target)
{
    const opensuite::CellList& cells = grid.cells;
    const std::size_t nodes = grid.nodeTotal();
    Arrays arrays;
    const std::string atPoints = pointData(grid, arrays);
    const std::string atCells = arrays.add(
        "Int32", "Body", 1, cells.size() * sizeof(std::int32_t),
        [&](std::ostream& out) { writeComputed<std::int32_t>(out, cells.size(), [&](std::size_t c) { return cells.body[c]; }); });
    const std::string points = arrays.add("Float32", "Points", 3, nodes * 3 * sizeof(float),
                                          [&](std::ostream& out)
                                          {
                                              const std::vector<float>* axis[] = {&grid.x, &grid.y, &grid.z};
                                              writeComputed<float>(out, 3 * nodes, [&](std::size_t k) { return (*axis[k % 3])[k / 3]; });
                                          });
    // One statement each: in a sum of strings the compiler may choose which is added first.
    std::string shape = arrays.add("Int64", "connectivity", 1, cells.node.size() * sizeof(std::int64_t),
                                   [&](std::ostream& out) { writeConnectivity(out, cells); });
    shape += arrays.add("Int64", "offsets", 1, cells.size() * sizeof(std::int64_t),
                        [&](std::ostream& out)
                        { writeComputed<std::int64_t>(out, cells.size(), [&](std::size_t c) { return cells.start[c + 1]; }); });
    shape += arrays.add("UInt8", "types", 1, cells.size(),
                        [&](std::ostream& out)
                        { writeComputed<std::uint8_t>(out, cells.size(), [&](std::size_t c) { return vtkType(cells.kind[c]); }); });

    constexpr bool isLittle = std::endian::native == std::endian::little;
    writeTargetFile(target,
                    [&](std::ostream& out)
                    {
                        out << "<?xml version=\"1.0\"?>\n<VTKFile type=\"UnstructuredGrid\" version=\"1.0\" byte_order=\""
                            << (isLittle ? "LittleEndian" : "BigEndian") << "\" header_type=\"UInt64\">\n  <UnstructuredGrid>\n"
                            << "    <Piece NumberOfPoints=\"" << nodes << "\" NumberOfCells=\"" << cells.size() << "\">\n"
                            << "      <PointData>\n"
                            << atPoints << "      </PointData>\n      <CellData>\n"
                            << atCells << "      </CellData>\n      <Points>\n"
                            << points << "      </Points>\n      <Cells>\n"
                            << shape << "      </Cells>\n    </Piece>\n  </UnstructuredGrid>\n  <AppendedData encoding=\"raw\">\n_";
                        arrays.write(out);
                        out << "\n  </AppendedData>\n</VTKFile>\n";
                    });
}

} // namespace tav3d::tools
