#include "tools/program.h"
#include "tools/signals.h"

int main(int argc, char** argv) {
    Tools::prepare_process();
    return static_cast<int>(Tools::run_program(argc, argv));
}
