"""Names of plug-ins and of their parameters as Python writes them."""
import keyword
import re


def function_name(name: str) -> str:
    """The name in snake case.

    >>> function_name("FieldFeaturesGrayValueImage")
    'field_features_gray_value_image'
    """
    return re.sub(r"(?<=[a-z0-9])(?=[A-Z])|(?<=[A-Z])(?=[A-Z][a-z])", "_", name).lower()


def keyword_of(key: str) -> str:
    """The key of a parameter as an identifier.

    >>> keyword_of("compute on foreground"), keyword_of("advanced/use_otsu"), keyword_of("from")
    ('compute_on_foreground', 'advanced_use_otsu', 'from_')
    """
    name = re.sub(r"\W", "_", key)
    return name + "_" if keyword.iskeyword(name) else name
