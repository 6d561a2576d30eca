// Describes filters to Kdenlive, which shows sliders with the ranges of its own files: one XML file for each.
// Usage: norix_kdenlive_xml FOLDER PLUGIN.so...

#include <dlfcn.h>
#include <fmt/format.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

extern "C" {
#include <frei0r.h>
}

namespace {

template <class Type>
Type* Function(void* plugin, const char* name) {
  auto* found = reinterpret_cast<Type*>(dlsym(plugin, name));
  if (!found) throw std::runtime_error(fmt::format("no function {}", name));
  return found;
}

std::string Describe(void* plugin, const std::string& file) {
  Function<decltype(f0r_init)>(plugin, "f0r_init")();
  f0r_plugin_info_t info = {};
  Function<decltype(f0r_get_plugin_info)>(plugin, "f0r_get_plugin_info")(&info);
  if (info.plugin_type != F0R_PLUGIN_TYPE_FILTER) throw std::runtime_error("not a filter");
  f0r_instance_t instance = Function<decltype(f0r_construct)>(plugin, "f0r_construct")(16, 16);
  std::string xml = fmt::format(
      "<?xml version=\"1.0\"?>\n<effect tag=\"frei0r.{0}\" id=\"frei0r.{0}\">\n    <name>{1}</name>\n"
      "    <description>{2}</description>\n    <author>{3}</author>\n",
      file, info.name, info.explanation, info.author);
  for (int i = 0; i < info.num_params; ++i) {
    f0r_param_info_t parameter = {};
    Function<decltype(f0r_get_param_info)>(plugin, "f0r_get_param_info")(&parameter, i);
    double standard = 0;
    Function<decltype(f0r_get_param_value)>(plugin, "f0r_get_param_value")(instance, &standard, i);
    const bool isSwitch = parameter.type == F0R_PARAM_BOOL;
    // Sliders count in percent, to a tenth.
    xml += fmt::format(
        "    <parameter type=\"{}\" name=\"{}\" default=\"{}\" min=\"0\" max=\"{}\"{}>\n        <name>{}</name>\n"
        "        <comment>{}</comment>\n    </parameter>\n",
        isSwitch ? "bool" : "animated", parameter.name, standard, isSwitch ? 1 : 100,
        isSwitch ? "" : " factor=\"100\" suffix=\"%\" decimals=\"1\"", parameter.name, parameter.explanation);
  }
  Function<decltype(f0r_destruct)>(plugin, "f0r_destruct")(instance);
  Function<decltype(f0r_deinit)>(plugin, "f0r_deinit")();
  return xml + "</effect>\n";
}

}  // namespace

int main(int argc, char** argv) {
  for (int i = 2; i < argc; ++i) {
    try {
      void* plugin = dlopen(argv[i], RTLD_NOW | RTLD_LOCAL);
      if (!plugin) throw std::runtime_error(dlerror());
      const std::string name = std::filesystem::path(argv[i]).stem();
      std::ofstream out(std::filesystem::path(argv[1]) / ("frei0r_" + name + ".xml"));
      out << Describe(plugin, name);
      dlclose(plugin);
      if (!out.flush()) throw std::runtime_error(fmt::format("cannot write to {}", argv[1]));
    } catch (const std::exception& error) {
      fmt::print(stderr, "norix_kdenlive_xml: {}: {}\n", argv[i], error.what());
      return EXIT_FAILURE;
    }
  }
}
