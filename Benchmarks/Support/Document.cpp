#include "Document.h"

#include <cstdio>

namespace TTMLBench {

namespace {

constexpr char kHead[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<tt:tt xmlns:tt="http://www.w3.org/ns/ttml" xmlns:ttp="http://www.w3.org/ns/ttml#parameter"
    xmlns:tts="http://www.w3.org/ns/ttml#styling" xmlns:ebuttm="urn:ebu:tt:metadata"
    xmlns:ebutts="urn:ebu:tt:style" ttp:timeBase="media" ttp:cellResolution="32 15" xml:lang="en">
  <tt:head>
    <tt:metadata>
      <ebuttm:documentMetadata>
        <ebuttm:conformsToStandard>urn:ebu:tt:distribution:2014-01</ebuttm:conformsToStandard>
      </ebuttm:documentMetadata>
    </tt:metadata>
    <tt:styling>
      <tt:style xml:id="base" tts:fontFamily="proportionalSansSerif" tts:fontSize="160%" tts:lineHeight="125%"
          tts:textAlign="center" ebutts:linePadding="0.5c"/>
      <tt:style xml:id="white" tts:color="#ffffff" tts:backgroundColor="#000000c2"/>
      <tt:style xml:id="yellow" tts:color="#ffff00" tts:backgroundColor="#000000c2"/>
    </tt:styling>
    <tt:layout>
      <tt:region xml:id="bottom" tts:origin="10% 10%" tts:extent="80% 80%" tts:displayAlign="after"/>
    </tt:layout>
  </tt:head>
  <tt:body>
    <tt:div style="base">
)";

constexpr char kTail[] = R"(    </tt:div>
  </tt:body>
</tt:tt>
)";

} // namespace

std::string MakeDocument(std::size_t size)
{
    std::string document = kHead;
    for (unsigned i = 0; document.size() + sizeof kTail - 1 < size; ++i) {
        char paragraph[512];
        (void)std::snprintf(paragraph, sizeof paragraph,
                            "      <tt:p xml:id=\"p%u\" region=\"bottom\" begin=\"00:%02u:%02u.000\" "
                            "end=\"00:%02u:%02u.800\">\n"
                            "        <tt:span style=\"%s\">The ferry that left at %u</tt:span><tt:br/>\n"
                            "        <tt:span style=\"%s\">will not be back before dawn.</tt:span>\n"
                            "      </tt:p>\n",
                            i, i / 30 % 60, i * 2 % 60, i / 30 % 60, i * 2 % 60 + 1,
                            i % 2 == 0 ? "white" : "yellow", i, i % 2 == 0 ? "white" : "yellow");
        document += paragraph;
    }
    return document + kTail;
}

} // namespace TTMLBench
