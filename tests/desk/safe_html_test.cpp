// A stranger's HTML, as it is shown. What must never come out whatever goes in, the fuzz target
// says (fuzz/safe_html_fuzz.cpp).
#include "desk/safe_html.h"

#include <gtest/gtest.h>

namespace parvane::desk {
namespace {

SafeHtml Made(std::string_view html) {
  return MakeSafe(html, [](const std::string& reference) {
    return reference == "cid:part1@x" ? std::string("attachment?n=1&x") : std::string();
  });
}

#define LINKED(address) \
  "<a href=\"" address "\" title=\"" address "\" target=\"_blank\" rel=\"noopener noreferrer\">"

TEST(SafeHtml, KeepsWhatOnlyLooks) {
  constexpr std::pair<const char*, const char*> kCases[] = {
      // Text stays text.
      {"a < b & c &lt;script&gt; &#60;b> \"q\"",
       "a &lt; b & c &lt;script&gt; &#60;b&gt; &quot;q&quot;"},
      {"<p align=center CLASS='a b'>x</P><br/>", "<p align=\"center\" class=\"a b\">x</p><br>"},
      {"<p title='\"><img src=x>'>", "<p title=\"&quot;&gt;&lt;img src=x&gt;\">"},
      {"<blink>x</blink><o:p>y</o:p>", "xy"},
      {"<body bgcolor=red text='#000' onload=x()><p>",
       "<div style=\"background-color:red;color:#000;\"><p>"},
      // What acts is gone, with or without its text.
      {"<script>alert('</p>')</script>x<SCRIPT SRC=y></sCRIPT >z", "xz"},
      {"<img src=x onerror=alert(1)><svg/onload=alert(1)>", "<img>"},
      {"<p onclick=x() ONMOUSEOVER='y' on\x01x=1>", "<p>"},
      {"<form action=x><input value=y><button>go</button></form>", "go"},
      {"<iframe src=x>no</iframe><object data=x>o</object><embed src=x>", "o"},
      {"<meta http-equiv=refresh content='0;url=x'><base href=x><link rel=stylesheet href=x>y",
       "y"},
      {"<svg><a xlink:href='javascript:x'><style><img src=x></style><p>y", "<a><p>y"},
      {"<math><mi>x</mi></math><textarea><b></textarea>", "&lt;b&gt;"},
      {"<title><p>t</title><noscript><img src=x onerror=y></noscript>", "<img>"},
      // Comments, however they end, and tags that do not.
      {"a<!-- <script>x</script> -->b<!-->c<!--->d<!--x--!>e<!x>f<?y>g</ z>h", "abcdefgh"},
      {"a<!--[if mso]><p>x</p><![endif]-->b<![if !mso]>c<![endif]>d<!-- x", "abcd"},
      {"x<p title=\"y", "x"},
      {"x<", "x&lt;"},
      {"<p <b>x</p\n>", "<p>x</p>"},
      // Links.
      {"<a href=' HTTPS://x/?a=1&amp;b=&quot; ' title=bank>",
       LINKED("HTTPS://x/?a=1&amp;b=&quot;")},
      {"<a href='java&#x73;cript:x' title=t>", "<a title=\"t\">"},
      {"<a href='java\nscript:x'><a href='&#1;javascript:x'><a href=javascript&colon;x>",
       "<a><a><a>"},
      {"<a href='ht\ntp://x'>", LINKED("http://x")},
      {"<a href=data:text/html,x><a href=vbscript:x><a href=file:///x><a href=//x><a href=x>",
       "<a><a><a><a><a>"},
      {"<a name=n></a><a href='#n' target=_top>", "<a id=\"n\"></a><a href=\"#n\">"},
      // Pictures.
      {"<img src='CID:Part1%40x' alt=a width=1 srcset=y usemap=z>",
       "<img src=\"attachment?n=1&amp;x\" alt=\"a\" width=\"1\">"},
      {"<img src=data:image/png;base64,AA==><img src=data:image/svg+xml;base64,AA>",
       "<img src=\"data:image/png;base64,AA==\"><img>"},
      {"<img src=http://x/y.gif alt='a picture' width=9999>", "<img alt=\"a picture\">"},
      {"<table background=http://x><td><image src=x>", "<table><td><img>"},
      // Style.
      {"<p style='color:red;background:url(http://x);WIDTH: calc(1px + 2em) !important'>",
       "<p style=\"color:red;width:calc(1px + 2em) !important;\">"},
      {"<p style='width:expression(x);-moz-binding:x;behavior:x;position:fixed;color:\\72 ed'>",
       "<p>"},
      {"<p style='color:red/*;*/;background:u/**/rl(x);font:\"a;b\";margin:1px)'>",
       "<p style=\"color:red;\">"},
      {"<p style='font-family:&quot;A B&quot;,serif;color:red\"'>",
       "<p style=\"font-family:&quot;A B&quot;,serif;\">"},
  };
  for (const auto& [html, safe] : kCases) EXPECT_EQ(Made(html).body, safe) << html;
  EXPECT_EQ(Made("<img src=http://x><img src=cid:part1@x><img src=cid:none><img>").pictures, 2u);
}

TEST(SafeHtml, KeepsPlainRulesOfSheets) {
  constexpr std::pair<const char*, const char*> kCases[] = {
      {"<style><!-- p.a, td > b:hover {color:red; background:url(x)} --></style>",
       "p.a, td > b:hover{color:red;}\n"},
      {"<style>@import 'x'; @media print {p{color:red} b{x:y}} @font-face{src:url(x)} u{color:red}",
       "u{color:red;}\n"},
      {"<style>a[href^='x']{color:red} b{color:red;}}} i{margin:0", "b{color:red;}\n"},
      {"<style>i{margin:0", "i{margin:0;}\n"},
      {"<style media=print>i{margin:0}</style><svg><style>i{margin:0}</style></svg>", ""},
      {"<style>i{color:red</style><script>x</script>", "i{color:red;}\n"},
      {"<style>/* </style>i{color:red}", ""},
  };
  for (const auto& [html, safe] : kCases) EXPECT_EQ(Made(html).style, safe) << html;
}

TEST(SafeHtml, CostsNoMoreThanItsText) {
  for (const char* piece : {"<", "<p ", "<!--", "<style>", "<svg>", "</", "&", "<a href=", "{", "(",
                            "<p style='a(('>"}) {
    std::string text = "<style>";
    while (text.size() < 1'000'000) text += piece;
    Made(text);
    Made(text.substr(7));
  }
}

TEST(SafeHtml, PlainTextStaysAsItIs) {
  EXPECT_EQ(AsSafeHtml("a &amp; <b>\n\"\xFF").body,
            "<pre dir=\"auto\">\na &amp;amp; &lt;b&gt;\n&quot;\xEF\xBF\xBD</pre>");
  EXPECT_TRUE(SafeDocument(AsSafeHtml("x")).starts_with("<!DOCTYPE html>"));
}

}  // namespace
}  // namespace parvane::desk
