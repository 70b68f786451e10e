# Writes OUTPUT: a C++ table of the sample offerwall web app's files (name, contents), so the
# local backend serves them from any working directory.
file(GLOB files RELATIVE "${WEBAPP_DIR}" "${WEBAPP_DIR}/*")
list(SORT files)
set(body "// Generated from tools/devserver/webapp; do not edit.\n#include \"webapp_assets.h\"\n\n")
string(APPEND body "namespace korvane::devserver {\n\nconst std::vector<WebAsset>& webAssets() {\n")
string(APPEND body "  static const std::vector<WebAsset> assets = {\n")
foreach(name IN LISTS files)
  file(READ "${WEBAPP_DIR}/${name}" content)
  string(APPEND body "      {\"${name}\", R\"korvane_asset(${content})korvane_asset\"},\n")
endforeach()
string(APPEND body "  };\n  return assets;\n}\n\n}  // namespace korvane::devserver\n")
file(WRITE "${OUTPUT}.tmp" "${body}")
file(COPY_FILE "${OUTPUT}.tmp" "${OUTPUT}" ONLY_IF_DIFFERENT)
