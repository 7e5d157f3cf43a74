# cmake -DOUT=file.cpp -DDIR=folder -P EmbedFiles.cmake: writes a C++ source
# defining kWebAssetFiles (tools/WebAssets.h) with the bytes of each file of
# the folder.
file(GLOB FILES LIST_DIRECTORIES false ${DIR}/*)
list(SORT FILES)
set(body "// Generated from tools/web/ by cmake/EmbedFiles.cmake; do not edit.\n")
string(APPEND body "#include \"tools/WebAssets.h\"\n\nnamespace {\n")
set(table "")
set(index 0)
foreach(file ${FILES})
    file(READ ${file} hex HEX)
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
    string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)"
           "\\1\n" bytes "${bytes}")
    get_filename_component(name ${file} NAME)
    string(APPEND body "const unsigned char kFile${index}[] = {\n${bytes}0x00};\n")
    string(APPEND table "    {\"${name}\", kFile${index}, sizeof kFile${index} - 1},\n")
    math(EXPR index "${index} + 1")
endforeach()
string(APPEND body "} // namespace\n\nconst WebAssetFile kWebAssetFiles[] = {\n${table}};\n")
string(APPEND body "const size_t kWebAssetFileCount = ${index};\n")
file(WRITE ${OUT}.new "${body}")
file(COPY_FILE ${OUT}.new ${OUT} ONLY_IF_DIFFERENT)
