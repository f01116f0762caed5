// Writes the models of tests/support/mesh_models.h as mesh files into the folder given, for the tests that read them with other programs.

#include "opensuite/mesh_file.h"
#include "support/mesh_models.h"

#include <cstdio>
#include <exception>

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: write_mesh_samples FOLDER\n");
        return 2;
    }
    try
    {
        const std::string folder = argv[1];
        tav3d::opensuite::writeMeshFile(folder + "/cubes.krn", tav3d::test::unitCubes(2, 3, 4));
        tav3d::opensuite::writeMeshFile(folder + "/kinds.krn", tav3d::test::oneCellOfEachKind());
        tav3d::opensuite::writeMeshFile(folder + "/insert.krn", tav3d::test::modelWithInsert());
        return 0;
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
