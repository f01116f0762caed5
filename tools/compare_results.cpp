#include "compare_files.h"

#include "field_grid.h"
#include "opensuite/file_error.h"
#include "text_format.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>

namespace tav3d::tools
{

using namespace opensuite;

namespace
{

/// Collects what is different in the description.
class Description
{
public:
    Description(std::vector<DescriptionDifference>& out, double tolerance)
        : out_(out)
        , tolerance_(tolerance)
    {
    }

    void text(const std::string& what, const std::string& a, const std::string& b)
    {
        if (a != b)
            out_.push_back({what, a, b});
    }
    void count(const std::string& what, long long a, long long b)
    {
        if (a != b)
            out_.push_back({what, std::to_string(a), std::to_string(b)});
    }
    template <class Real>
    void number(const std::string& what, Real a, Real b)
    {
        if (distanceOf(a, b) > tolerance_)
            out_.push_back({what, shortest(a), shortest(b)});
    }
    void numbers(const std::string& what, const std::vector<double>& a, const std::vector<double>& b)
    {
        if (a.size() != b.size())
            return count(what + ": number of entries", static_cast<long long>(a.size()), static_cast<long long>(b.size()));
        for (std::size_t k = 0; k < a.size(); ++k)
            number(what + " " + std::to_string(k + 1), a[k], b[k]);
    }

private:
    std::vector<DescriptionDifference>& out_;
    double tolerance_;
};

const char* yesOrNo(bool flag)
{
    return flag ? "yes" : "no";
}

void compareHeads(Description& d, const CBinaryInform& a, const CBinaryInform& b)
{
    d.text("title", a.m_strTitle, b.m_strTitle);
    const auto mesh = [](const CBinaryInform& inform) { return inform.m_bOnCutCellMesh ? "cut-cell" : "voxel"; };
    d.text("mesh", mesh(a), mesh(b));
    d.count("voxel nodes", a.m_nVoxelNode, b.m_nVoxelNode);
    d.count("cut-cell nodes", a.m_nCutCellNode, b.m_nCutCellNode);
    d.count("nodes of the part", a.m_nMaxCavityNode, b.m_nMaxCavityNode);
    d.number("filling time", a.m_dFillingTime, b.m_dFillingTime);
    d.numbers("output time", a.m_OutputTime, b.m_OutputTime);
    d.count("mode of several output times", a.m_iMultipleTimeStepMode, b.m_iMultipleTimeStepMode);
    d.text("venting result", yesOrNo(a.m_bHasVentingResult), yesOrNo(b.m_bHasVentingResult));
    if (a.m_CoolInfo.size() != b.m_CoolInfo.size())
        d.count("cooling: number of entries", static_cast<long long>(a.m_CoolInfo.size()), static_cast<long long>(b.m_CoolInfo.size()));
    else
        for (std::size_t k = 0; k < a.m_CoolInfo.size(); ++k)
        {
            d.text("cooling: name of entry " + std::to_string(k + 1), a.m_CoolInfo[k].first, b.m_CoolInfo[k].first);
            d.number("cooling: " + a.m_CoolInfo[k].first, a.m_CoolInfo[k].second, b.m_CoolInfo[k].second);
        }
}

std::string typeText(const CBinaryInform& inform, int number)
{
    const auto found = inform.m_ResultType.find(number);
    if (found == inform.m_ResultType.end())
        return "";
    return std::to_string(found->second.m_nDimension) + " values" + (found->second.m_bUseIDMap ? " at listed nodes" : "");
}

void compareTypes(Description& d, const CBinaryInform& a, const CBinaryInform& b)
{
    std::vector<int> numbers;
    for (const CBinaryInform* inform : {&a, &b})
        for (const auto& [number, type] : inform->m_ResultType)
            numbers.push_back(number);
    std::ranges::sort(numbers);
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    for (const int number : numbers)
    {
        const std::string what = "result type " + std::to_string(number);
        const std::string inA = typeText(a, number);
        const std::string inB = typeText(b, number);
        d.text(what, inA, inB);
        if (inA != inB || inA.empty())
            continue;
        const std::vector<int>& idA = a.m_ResultType.at(number).m_MappingID;
        const std::vector<int>& idB = b.m_ResultType.at(number).m_MappingID;
        const auto [atA, atB] = std::ranges::mismatch(idA, idB);
        if (atA != idA.end() && atB != idB.end())
            d.count(what + ": node in entry " + std::to_string(atA - idA.begin()) + " of its list", *atA, *atB);
    }
}

void compareItemRows(Description& d, const CBinaryResultItem& a, const CBinaryResultItem& b)
{
    const std::string what = itemLabel(a) + ": ";
    d.text(what + "name", a.m_strName, b.m_strName);
    d.text(what + "unit", a.m_strUnit, b.m_strUnit);
    d.count(what + "result type", a.m_iResultType, b.m_iResultType);
    d.number(what + "recorded minimum", a.m_fMin, b.m_fMin);
    d.number(what + "recorded maximum", a.m_fMax, b.m_fMax);
}

const CBinaryResultItem* findItem(const CBinaryInform& inform, int number)
{
    const auto found = std::ranges::find(inform.m_ResultItem, number, &CBinaryResultItem::m_iResultItemID);
    return found == inform.m_ResultItem.end() ? nullptr : &*found;
}

/// Numbers of the items that both files have, in the order of `inform`.
std::string orderOfShared(const CBinaryInform& inform, const CBinaryInform& other)
{
    std::string order;
    for (const CBinaryResultItem& row : inform.m_ResultItem)
        if (findItem(other, row.m_iResultItemID) != nullptr)
            order += (order.empty() ? "" : ", ") + std::to_string(row.m_iResultItemID);
    return order;
}

void keepLargest(DifferenceSpot& spot, std::size_t node, double difference, float a, float b)
{
    if (difference > spot.difference) // the lowest of nodes with the same difference
        spot = {static_cast<std::int64_t>(node) + 1, difference, a, b, {}};
}

void compareValues(const StoredItem& a, const StoredItem& b, double tolerance, TableComparison& table)
{
    const auto has = [](const StoredItem& item, std::size_t k)
    { return k < item.value.size() && (item.isThere.empty() || item.isThere[k] != 0); };
    const std::size_t count = std::max(a.value.size(), b.value.size());
    for (std::size_t k = 0; k < count; ++k)
    {
        const bool inA = has(a, k);
        const bool inB = has(b, k);
        if (!inA || !inB)
        {
            table.onlyInA += inA ? 1 : 0;
            table.onlyInB += inB ? 1 : 0;
            if (inA != inB && table.firstDiffering == 0)
                table.firstDiffering = static_cast<std::int64_t>(k) + 1;
            continue;
        }
        ++table.compared;
        const double difference = distanceOf(a.value[k], b.value[k]);
        if (difference == 0.0)
            continue;
        keepLargest(table.absolute, k, difference, a.value[k], b.value[k]);
        const double size = std::max(std::abs(double{a.value[k]}), std::abs(double{b.value[k]}));
        keepLargest(table.relative, k, std::isfinite(difference) ? difference / size : difference, a.value[k], b.value[k]);
        if (difference > tolerance)
        {
            ++table.differing;
            if (table.firstDiffering == 0)
                table.firstDiffering = static_cast<std::int64_t>(k) + 1;
        }
    }
}

/// Tells where the largest differences are, from the mesh of the first file that has one.
void addPlaces(FileComparison& comparison, const std::string& fileA, const std::string& fileB)
{
    const auto needsPlace = [](const TableComparison& table) { return table.absolute.number != 0; };
    if (std::ranges::none_of(comparison.tables, needsPlace))
        return;
    FieldGrid grid;
    for (const std::string& file : {fileA, fileB})
    {
        try
        {
            const OpenResultFile result(file);
            const CBinaryInform& d = result.description();
            GridRequest request;
            request.file = d.m_strMeshFile;
            request.zone = d.m_bOnCutCellMesh ? ZoneId::CutCell : ZoneId::Voxel;
            std::vector<std::string> notes;
            grid = loadFieldGrid(request, notes);
            if (grid.nodeTotal() == static_cast<std::size_t>(nodeTotalOf(d)))
                break;
            comparison.notes.push_back("no coordinates: " + d.m_strMeshFile + " has another number of nodes");
        }
        catch (const FileError& error)
        {
            comparison.notes.push_back(std::string("no coordinates: ") + error.what());
        }
        grid = {};
    }
    for (TableComparison& table : comparison.tables)
        for (DifferenceSpot* spot : {&table.absolute, &table.relative})
            if (const auto n = static_cast<std::size_t>(spot->number) - 1; spot->number != 0 && n < grid.nodeTotal())
                spot->place = Vec3{grid.x[n], grid.y[n], grid.z[n]};
}

void noteMeshFiles(FileComparison& comparison, const CBinaryInform& a, const CBinaryInform& b)
{
    if (a.m_strMeshFile != b.m_strMeshFile && !isSameFile(a.m_strMeshFile, b.m_strMeshFile))
        comparison.notes.push_back("the results name different mesh files: '" + a.m_strMeshFile + "' and '" + b.m_strMeshFile + "'");
}

} // namespace

double distanceOf(double a, double b) noexcept
{
    if (a == b || (std::isnan(a) && std::isnan(b)))
        return 0.0;
    const double difference = std::abs(a - b);
    return std::isnan(difference) ? std::numeric_limits<double>::infinity() : difference;
}

FileComparison compareResults(const std::string& fileA, const std::string& fileB, double tolerance)
{
    OpenResultFile resultA(fileA);
    OpenResultFile resultB(fileB);
    const CBinaryInform& a = resultA.description();
    const CBinaryInform& b = resultB.description();
    FileComparison comparison;
    Description description(comparison.description, tolerance);
    compareHeads(description, a, b);
    compareTypes(description, a, b);
    description.text("order of the items", orderOfShared(a, b), orderOfShared(b, a));
    noteMeshFiles(comparison, a, b);

    // On different meshes one node number means two places: there is nothing to compare.
    const bool isOneMesh = a.m_bOnCutCellMesh == b.m_bOnCutCellMesh && nodeTotalOf(a) == nodeTotalOf(b);
    if (!isOneMesh)
        comparison.notes.emplace_back("the results stand on different meshes: values are not compared");
    StoredItem itemA;
    StoredItem itemB;
    for (const CBinaryResultItem& row : a.m_ResultItem)
    {
        const CBinaryResultItem* other = findItem(b, row.m_iResultItemID);
        if (other == nullptr)
        {
            comparison.onlyInA.push_back(itemLabel(row));
            continue;
        }
        compareItemRows(description, row, *other);
        if (!isOneMesh)
            continue;
        TableComparison table;
        table.isItem = true;
        table.item = row.m_iResultItemID;
        table.name = itemLabel(row);
        table.unit = row.m_strUnit;
        readStoredItem(resultA, row, itemA);
        readStoredItem(resultB, *other, itemB);
        compareValues(itemA, itemB, tolerance, table);
        comparison.tables.push_back(std::move(table));
    }
    for (const CBinaryResultItem& row : b.m_ResultItem)
        if (findItem(a, row.m_iResultItemID) == nullptr)
            comparison.onlyInB.push_back(itemLabel(row));
    addPlaces(comparison, fileA, fileB);
    return comparison;
}

bool FileComparison::isEqual() const noexcept
{
    return description.empty() && onlyInA.empty() && onlyInB.empty() && std::ranges::all_of(tables, &TableComparison::isEqual);
}

FileComparison compareFiles(const std::string& a, const std::string& b, double tolerance)
{
    const FileKind kindA = kindOfFile(a);
    if (const FileKind kindB = kindOfFile(b); kindA != kindB)
        throw FileError(FileFailure::BadInput, b, "",
                        kindB == FileKind::Mesh ? "is a mesh file, but " + a + " a result file"
                                                : "is a result file, but " + a + " a mesh file");
    FileComparison comparison = kindA == FileKind::Mesh ? compareMeshes(a, b, tolerance) : compareResults(a, b, tolerance);
    comparison.kind = kindA;
    return comparison;
}

} // namespace tav3d::tools
