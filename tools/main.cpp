#include "commands.h"

int main(int argc, char** argv)
{
    return tav3d::tools::run(argc, argv);
}
