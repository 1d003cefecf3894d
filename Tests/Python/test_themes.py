"""Themes from the factory: documents that read back to the same text, clones, and failures that
carry the module's own messages."""
import pytest

import t3d


def _unique():
    theme = t3d.new_theme("unique")
    theme.expression = "continent"
    theme.add("Africa", "Africa", fill=(0.9, 0.1, 0.1))
    theme.add("Europe", "Europe", fill=(0.2, 0.5, 0.7, 0.5), visible=False)
    return theme


def _range():
    theme = t3d.new_theme(2)
    theme.expression = "pop"
    theme.make_default(0, 4, [1.0, 2.0, 5.0, 9.0, 17.0])
    return theme


def _label():
    theme = t3d.new_theme("label")
    theme.expression = "name"
    theme.number_format = "%.2f"
    return theme


def _graph():
    theme = t3d.new_theme("graph")
    theme.add("pop")
    theme.add("gdp")
    theme.graph_type = 12
    return theme


def _custom():
    theme = t3d.new_theme("custom")
    theme["ExtendHeight"] = "height"
    theme["FillForeColor"] = "colour"
    return theme


@pytest.mark.parametrize("make", [_unique, _range, _label, _graph, _custom])
def test_document_and_clone_round_trip(make):
    theme = make()
    xml = theme.to_xml()
    back = t3d.theme_from_xml(xml)
    assert type(back) is type(theme) and back.kind == theme.kind
    assert back.to_xml() == xml
    assert theme.clone().to_xml() == xml


def test_kind_properties_survive_the_document():
    unique = t3d.theme_from_xml(_unique().to_xml())
    assert unique.values == ["Africa", "Europe"]
    assert unique.style_for("Africa") == pytest.approx((0.9, 0.1, 0.1, 1.0))
    assert unique.style_for("Europe") is None  # an invisible item hides its features
    ranges = t3d.theme_from_xml(_range().to_xml())
    assert ranges.breaks == pytest.approx([5.0, 9.0, 13.0])
    assert ranges.style_for(6.0) == ranges.fills[1]
    assert t3d.theme_from_xml(_graph().to_xml()).expressions == ["pop", "gdp"]
    assert t3d.theme_from_xml(_custom().to_xml())["ExtendHeight"] == "height"


@pytest.mark.parametrize("call, words", [
    (lambda: t3d.new_theme("bubbles"), "unknown theme kind"),
    (lambda: t3d.theme_from_xml("<tdx:Theme3D/>"), "names no theme kind"),
    (lambda: t3d.new_theme("range").from_xml(_unique().to_xml()), "not a readable range theme"),
    (lambda: setattr(t3d.new_theme("label"), "number_format", "%s"), "cannot format a number"),
    (lambda: t3d.new_theme("custom").__setitem__("Colour", "x"), "no property 'Colour'"),
])
def test_failures_raise_with_the_reason(call, words):
    with pytest.raises(t3d.Error, match=words):
        call()


def test_log_records_reach_python():
    t3d.log_records(clear=True)
    with pytest.raises(t3d.Error) as raised:
        t3d.new_theme("label").number_format = "%s"
    records = t3d.log_records(clear=True)
    assert records and records[-1][1] in str(raised.value)
    assert t3d.log_records() == []
