#pragma once

#include <windows.h>

// Class and interface identifiers of the XML document object, as published
// for each version of the XML services. The cross compiler's import library
// lacks most of them, so they are written out here, once.

namespace orv::msxml {

// {88d96a05-f192-11d4-a65f-0040963251e5}
inline constexpr CLSID kDomDocument60 = {
    0x88d96a05, 0xf192, 0x11d4, {0xa6, 0x5f, 0x00, 0x40, 0x96, 0x32, 0x51, 0xe5}};
// {88d969c0-f192-11d4-a65f-0040963251e5}
inline constexpr CLSID kDomDocument40 = {
    0x88d969c0, 0xf192, 0x11d4, {0xa6, 0x5f, 0x00, 0x40, 0x96, 0x32, 0x51, 0xe5}};
// {f5078f32-c551-11d3-89b9-0000f81fe221}
inline constexpr CLSID kDomDocument30 = {
    0xf5078f32, 0xc551, 0x11d3, {0x89, 0xb9, 0x00, 0x00, 0xf8, 0x1f, 0xe2, 0x21}};
// {f5078f1b-c551-11d3-89b9-0000f81fe221}
inline constexpr CLSID kDomDocument26 = {
    0xf5078f1b, 0xc551, 0x11d3, {0x89, 0xb9, 0x00, 0x00, 0xf8, 0x1f, 0xe2, 0x21}};
// {2933bf90-7b36-11d2-b20e-00c04f983e60}, the version-independent document.
inline constexpr CLSID kDomDocument = {
    0x2933bf90, 0x7b36, 0x11d2, {0xb2, 0x0e, 0x00, 0xc0, 0x4f, 0x98, 0x3e, 0x60}};

// {2933bf95-7b36-11d2-b20e-00c04f983e60}
inline constexpr IID kIXMLDOMDocument2 = {
    0x2933bf95, 0x7b36, 0x11d2, {0xb2, 0x0e, 0x00, 0xc0, 0x4f, 0x98, 0x3e, 0x60}};

}  // namespace orv::msxml
