// A host that maps result files of one model from its voxel mesh to its cut-cell mesh.
//
//   host_mapping MESH.krn RESULT...                    in place: part.q7f moves to part_vox.q7f, and part.q7f becomes the mapped result
//   host_mapping MESH.krn RESULT -o TARGET             the voxel result stays where it is
//
// Exit status: 0 = all mapped, 1 = something failed, 2 = wrong usage.

#include <Tav3dQ7XMapping_Voxel2CutCell.h>

#include <cstdio>
#include <exception>
#include <fstream>
#include <string>
#include <vector>

namespace
{

bool exists(const std::string& file)
{
    return std::ifstream(file.c_str(), std::ios::binary).good();
}

/// Where the library moves the voxel result to: "_vox" before the extension. Kinds of results are told by their extension, byte for byte; a name
/// without a dot would end in std::out_of_range, and one of another extension would be handed on unmapped. So hosts check names first.
bool voxelName(const std::string& file, std::string& moved)
{
    static const char* const kinds[] = {".q7f", ".q7p", ".q7c", ".q7hc", ".rsf", ".rsc"};
    for (const char* kind : kinds)
    {
        const std::string extension = kind;
        if (file.size() > extension.size() && file.compare(file.size() - extension.size(), std::string::npos, extension) == 0)
        {
            moved = file.substr(0, file.size() - extension.size()) + "_vox" + extension;
            return true;
        }
    }
    return false;
}

/// What a call's answer means.
std::string reason(int code)
{
    switch (code)
    {
    case 2:
        return "the mesh file cannot be used";
    case -2:
        return "there is no mapping object";
    case -1:
        return "a file could not be opened or moved aside (see above)";
    default:
        return "no mapped result was completed";
    }
}

/// Maps one result; an empty text means success.
std::string map(CTav3dQ7XMapping_Voxel2CutCell& mapping, std::string result, std::string target)
{
    const int smooth = 1; // cavity items are smoothed on the voxel mesh first; takes effect in mapping mode 1 only
    std::string moved;
    if (!voxelName(result, moved))
        return "not the name of a result file";

    int code = 0;
    if (target.empty())
    {
        // Mapping a file in place a second time would put the mapped result in the place of the voxel data.
        if (exists(moved))
            return "was mapped before: its voxel data is in " + moved;
        // The result's name becomes free when the voxel file moves, so afterwards a file of that name is a mapped one. If there is none, the voxel file
        // goes back to where it was. (The call waits 1.5 s for an older "_vox" file to go away, also where there is none.)
        target = result;
        code = mapping.Voxel2CutCellResult(result, smooth);
        if (!exists(target) && exists(moved))
            std::rename(moved.c_str(), target.c_str());
        else if (code == 1)
            return "";
    }
    else
    {
        // The answer 1 tells that the run came to its end, not that the disk had room: make sure that no older file can be taken for the new one.
        std::remove(target.c_str());
        code = mapping.Voxel2CutCellResult(result, target, smooth);
        if (code == 1 && exists(target))
            return "";
    }
    return reason(code);
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> results(argv + (argc > 1 ? 2 : argc), argv + argc);
    std::string target;
    if (results.size() == 3 && results[1] == "-o")
    {
        target = results[2];
        results.resize(1);
    }
    if (results.empty())
    {
        std::fprintf(stderr, "usage: host_mapping MESH.krn RESULT...\n       host_mapping MESH.krn RESULT -o TARGET\n");
        return 2;
    }

    // One object per model. It must not be copied once it is configured: copies share the model, and each would delete it.
    CTav3dQ7XMapping_Voxel2CutCell mapping;
    mapping.Setfillingtime(1.5); // s; goes into the head of the mapped files

    // Loads both meshes and searches the neighbours, once for all results. Mode 1 gives surface nodes the value of the nearest voxel node of their
    // kind and makes smoothing possible; the last argument 0 keeps part and part insert apart. It answers 0 in any case: a mesh file that cannot be
    // used shows in the first mapping, which answers 2.
    mapping.SetParameters(argv[1], 1, 0);

    int failures = 0;
    for (const std::string& result : results)
    {
        std::string failure;
        try
        {
            failure = map(mapping, result, target);
        }
        catch (const std::exception& error) // the standard library's: no memory
        {
            failure = error.what();
        }
        if (failure.empty())
            std::printf("%s: mapped\n", (target.empty() ? result : target).c_str());
        else
            std::fprintf(stderr, "%s: %s\n", result.c_str(), failure.c_str());
        failures += failure.empty() ? 0 : 1;
    }
    return failures == 0 ? 0 : 1;
}
